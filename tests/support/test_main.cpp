#include <QtCore/QCoreApplication>

#include <gtest/gtest.h>

/// Runs the cases of one test executable under a QCoreApplication, whose thread counts as the main thread.
int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
