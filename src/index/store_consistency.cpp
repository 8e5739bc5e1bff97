#include "index/store_consistency.h"

#include "index/index_store.h"
#include "index/parsed_object.h"
#include "platform/dicom/dicom_parsing.h"
#include "platform/files/files.h"
#include "platform/sqlite/database.h"
#include "platform/sqlite/sqlite_error.h"

#include <map>

namespace gateway::index {

namespace {

constexpr std::size_t kFilesToRead = 8; // a store of another gateway has none right but by chance

constexpr const char *kLastRows =
    "SELECT pathString, originalSOPInstanceUID FROM DicomImage "
    "WHERE pathString <> '' AND pathString NOT LIKE '/%' AND originalSOPInstanceUID <> '' "
    "ORDER BY pk DESC";

/// Rows without their files may be many: those of the store that went, and of a fuller one than this.
std::map<QString, platform::InstanceUid> lastFilesThere(platform::Database &database,
                                                        const QString &storeRoot)
{
    std::map<QString, platform::InstanceUid> instances;
    QString last;
    platform::Statement row = database.prepare(kLastRows);
    while (instances.size() < kFilesToRead && row.step()) {
        const QString path = row.text(0);
        if (path != last && platform::fileIdentity(storeRoot + u'/' + path)) {
            instances.emplace(path, platform::InstanceUid(row.text(1)));
        }
        last = path;
    }
    return instances;
}

} // namespace

FilesAre whoseFiles(const QString &storeRoot, const IndexStore &store, platform::DicomParsing &parser)
{
    int right = 0;
    int wrong = 0;
    bool isOneUnread = false;
    try {
        const auto files =
            store.read([&](platform::Database &database) { return lastFilesThere(database, storeRoot); });
        for (const auto &[path, instance] : files) {
            const platform::ParsedFile found = parser.parse(storeRoot + u'/' + path);
            if (found.fate == platform::ParsedFile::Fate::parsed) {
                const bool isIt = parsedObject(found.elements).sopInstanceUID == instance;
                (isIt ? right : wrong) += 1;
            }
            isOneUnread = isOneUnread || found.fate == platform::ParsedFile::Fate::trouble ||
                          found.fate == platform::ParsedFile::Fate::unavailable;
        }
    } catch (const platform::SqliteError &) {
        return FilesAre::unknown; // whoever reads the index next will say so
    }
    if (right > 0 || wrong > 0) {
        return wrong > right ? FilesAre::ofAnother : FilesAre::ofTheIndex;
    }
    return isOneUnread ? FilesAre::unread : FilesAre::unknown;
}

} // namespace gateway::index
