#pragma once

#include "index/testing/temporary_index.h"
#include "platform/files/testing/faulty_file_system.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <gtest/gtest.h>

namespace gateway::index::testing {

/// A store and the index beside it, into which images come.
///
/// Owner: a test. Thread: main.
class StoreWorld : public ::testing::Test
{
protected:
    inline static const QString kNumberKey = QStringLiteral("QuorinGateway.DataFileIndex");

    QString importAs(const QString &name)
    {
        home.clock.advance(std::chrono::milliseconds(1));
        home.index().importFile(home.file(TemporaryIndex::image(QString::number(++m_images)), name));
        return home.rows(QStringLiteral("SELECT pathString FROM DicomImage ORDER BY pk DESC")).value(0);
    }

    void placeInStore(const QString &pathString)
    {
        const QString path = home.fileStoreRoot() + QLatin1Char('/') + pathString;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("an image");
    }

    void setNumber(qlonglong number)
    {
        home.close();
        home.defaults.setObject(kNumberKey, number);
        home.reopen();
    }

    platform::testing::FaultyFileSystem disk;
    TemporaryIndex home{disk};

private:
    int m_images = 0;
};

} // namespace gateway::index::testing
