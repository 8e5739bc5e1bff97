#pragma once

#include "index/testing/store_world.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

namespace gateway::index::testing {

/// Where a volume is mounted, or isn't.
///
/// Owner: a test. Thread: main.
class MountPoint : public StoreWorld
{
protected:
    void unmount()
    {
        ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), away));
        ASSERT_TRUE(QDir().mkpath(home.fileStoreRoot()));
    }

    void mount()
    {
        ASSERT_TRUE(QDir(home.fileStoreRoot()).removeRecursively());
        ASSERT_TRUE(QDir().rename(away, home.fileStoreRoot()));
    }

    QStringList underneath() const
    {
        return QDir(home.fileStoreRoot()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    const QString away = home.path(QStringLiteral("away"));
};

/// Another gateway's store, with an image under the number that the first image here has.
///
/// Owner: a test. Thread: main.
class SwappedStore : public MountPoint
{
protected:
    /// An image of the other gateway.
    void put(const QString &pathString, const QString &instance)
    {
        writeSyntheticFile(home.fileStoreRoot() + u'/' + pathString, TemporaryIndex::image(instance));
    }

    void swapFor(const QString &id)
    {
        unmount();
        placeInStore(QStringLiteral("10000/0.dcm"));
        put(QStringLiteral("10000/0.dcm"), QStringLiteral("99.9"));
        if (!id.isEmpty()) {
            QFile file(home.fileStoreRoot() + QStringLiteral("/.id"));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(id.toLatin1()) > 0);
        }
    }

    /// It stands there at the next start.
    void mountAnother(const QString &id)
    {
        home.close();
        swapFor(id);
        home.reopen();
    }

    void deleteTheStudy()
    {
        const QStringList studies = home.rows(QStringLiteral("SELECT studyInstanceUID FROM Study"));
        ASSERT_EQ(studies.size(), 1);
        home.index().deleteStudies(studies);
    }

    void expectNothingHappens()
    {
        EXPECT_TRUE(home.index().isStoreAnother());
        EXPECT_TRUE(home.index().isStoreOutOfSight());
        EXPECT_THROW(importAs(QStringLiteral("b.dcm")), GatewayImportError);
        EXPECT_TRUE(home.index().pendingImageUploads(10).isEmpty());
        EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm")));
        EXPECT_FALSE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/10000/1.dcm")));
    }

    const QString othersId = QString(32, u'a');
};

} // namespace gateway::index::testing
