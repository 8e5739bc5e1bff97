#include <QtCore/QtGlobal>
#include <QtWidgets/QApplication>

#include <gtest/gtest.h>

/// Runs the cases of one test executable under a QApplication; without a display unless the environment names
/// one for Qt. Listing the cases needs no application.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (::testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
