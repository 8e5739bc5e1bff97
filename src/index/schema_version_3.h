#pragma once

namespace gateway::index {

// What version 3 adds to version 2, in pieces that stand for themselves. Never changed once released: a
// later layout is a migration.

/// The order in which files wait for their upload, and until when.
///
/// `notBefore` is absent for a file that wasn't tried in vain; else the moment from which it is tried again,
/// as milliseconds since 1970 in UTC, the same in all rows of the file. The two kinds wait apart, so that new
/// files never stand behind failed ones, and nobody reads past files whose time hasn't come. `tries` counts
/// the failures after which the file had to wait.
inline constexpr const char *kQueueOfSchemaVersion3 = R"sql(
ALTER TABLE DicomImage ADD COLUMN notBefore INTEGER;
ALTER TABLE UploadFailure ADD COLUMN tries INTEGER NOT NULL DEFAULT 0;

DROP INDEX DicomImage_waiting;
CREATE INDEX DicomImage_waiting ON DicomImage (createDate, pk, pathString)
    WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NULL;
CREATE INDEX DicomImage_retrying ON DicomImage (notBefore, pk, pathString)
    WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NOT NULL;
CREATE INDEX DicomImage_retryingByAge ON DicomImage (createDate)
    WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NOT NULL;

CREATE TRIGGER DicomImage_replacedWhileRetrying AFTER UPDATE OF pathString ON DicomImage
WHEN NEW.notBefore IS NOT NULL AND OLD.pathString IS NOT NEW.pathString BEGIN
    UPDATE DicomImage SET notBefore = NULL WHERE pk = NEW.pk;
END;
)sql";

/// Which of several stored copies of an image counts, and which of them may go.
///
/// `acknowledged` is when the file of a row was acknowledged, in nanoseconds since 1970, 0 where that isn't
/// known; `contentVersion` is what its import read of its dataset, as a SendableFile bears it, 0 where nobody
/// noted that; `damaged` tells a file that ends before its elements do, `cameFrom` is the
/// way by which it came, a FileOrigin. `SupersededFile` holds the stored files of images whose rows stand for
/// another one, `successor`; `owed` is 1 for one that a modality may have been told is stored and that wasn't
/// in the cloud when it came to stand aside. `recordAgainFrom` is the number of the first stored file that
/// may lack its rows because the index was made anew or came back from a backup; NULL where all have them.
/// `storesBefore` only rises, with each store that a person takes for the one of the index.
inline constexpr const char *kCopiesOfSchemaVersion3 = R"sql(
ALTER TABLE DicomImage ADD COLUMN acknowledged INTEGER NOT NULL DEFAULT 0;
ALTER TABLE DicomImage ADD COLUMN damaged INTEGER NOT NULL DEFAULT 0;
ALTER TABLE DicomImage ADD COLUMN contentVersion INTEGER NOT NULL DEFAULT 0;
ALTER TABLE DicomImage ADD COLUMN cameFrom INTEGER NOT NULL DEFAULT 2;
CREATE INDEX DicomImage_damaged ON DicomImage (pathString) WHERE damaged <> 0;

ALTER TABLE Ledger ADD COLUMN newestAcknowledged INTEGER NOT NULL DEFAULT 0;
ALTER TABLE Ledger ADD COLUMN recordAgainFrom INTEGER;
ALTER TABLE Ledger ADD COLUMN storesBefore INTEGER NOT NULL DEFAULT 0;

CREATE TABLE SupersededFile (
    pathString TEXT PRIMARY KEY,
    successor TEXT NOT NULL,
    acknowledged INTEGER NOT NULL,
    owed INTEGER NOT NULL DEFAULT 1
) WITHOUT ROWID;
CREATE INDEX SupersededFile_successor ON SupersededFile (successor);
)sql";

/// What was sent of each instance, and to which cloud. It outlives the instance's rows: the cloud does, too.
///
/// `instance` is a digest of the SOP instance UID, `version` one of the dataset that alone was sent under it,
/// or is being sent; 0 where several were, or nobody knows which. `arrival` tells whether that one version
/// may have arrived: 1 when it was answered as stored, 0 when a try failed before that, else the number of
/// the process that has it on its way; of no meaning beside a `version` of 0. `acknowledged` is when the last
/// acknowledged of all versions was that were answered as stored, as in DicomImage, 0 where none was or
/// nobody knows, and `place` a digest of its study and series. `cloud` is that to which it was sent last, a
/// SentCloud, 0 where none was noted. `lacksSentInstances` is
/// 1 where instances may have been sent that have no entry: by an earlier version of the program, or before
/// the index was lost whose files have been recorded again since. `sendCount` only rises, with each instance
/// that is noted. The `name` of a cloud is a digest; `answersQueries` is 1 for one that ever answered a
/// query.
inline constexpr const char *kSentOfSchemaVersion3 = R"sql(

ALTER TABLE Ledger ADD COLUMN lacksSentInstances INTEGER NOT NULL DEFAULT 0;

CREATE TABLE SentInstance (
    instance INTEGER PRIMARY KEY,
    version INTEGER NOT NULL,
    arrival INTEGER NOT NULL DEFAULT 0,
    acknowledged INTEGER NOT NULL DEFAULT 0,
    place INTEGER NOT NULL DEFAULT 0,
    cloud INTEGER NOT NULL DEFAULT 0
);

ALTER TABLE Ledger ADD COLUMN sendCount INTEGER NOT NULL DEFAULT 0;

CREATE TABLE SentCloud (
    pk INTEGER PRIMARY KEY,
    name INTEGER NOT NULL UNIQUE,
    answersQueries INTEGER NOT NULL DEFAULT 0
);

)sql";

/// What a person deleted from the cloud.
///
/// `leftCloud` is 1 for an image whose deletion there was about to be asked for, 2 where it was done or may
/// have been; 0 otherwise, and again when a later try to send it begins. Such images aren't pruned.
inline constexpr const char *kCloudDeletionsOfSchemaVersion3 = R"sql(
ALTER TABLE DicomImage ADD COLUMN leftCloud INTEGER NOT NULL DEFAULT 0;
CREATE INDEX DicomImage_leftCloud ON DicomImage (series) WHERE leftCloud <> 0;

DROP INDEX DicomImage_uploaded;
CREATE INDEX DicomImage_uploaded ON DicomImage (uploadDate)
    WHERE syncState = 1 AND uploadDate IS NOT NULL AND leftCloud = 0;

CREATE TRIGGER DicomImage_sentAgain AFTER UPDATE OF syncState ON DicomImage
WHEN NEW.syncState = 3 AND OLD.leftCloud <> 0 BEGIN
    UPDATE DicomImage SET leftCloud = 0 WHERE pk = NEW.pk;
END;
)sql";

/// How many instances there are, beside their frames: archives count by them.
///
/// An instance is counted by the row of its first frame, in the state of that row; of a file whose frames lie
/// in several series by the first of these.
inline constexpr const char *kInstancesOfSchemaVersion3 = R"sql(
ALTER TABLE Ledger ADD COLUMN instanceCount INTEGER NOT NULL DEFAULT 0;
ALTER TABLE Ledger ADD COLUMN syncedInstanceCount INTEGER NOT NULL DEFAULT 0;
ALTER TABLE Ledger ADD COLUMN failedInstanceCount INTEGER NOT NULL DEFAULT 0;

UPDATE Ledger SET (instanceCount, syncedInstanceCount, failedInstanceCount) =
    (SELECT count(*), coalesce(sum(syncState IS 1), 0), coalesce(sum(syncState IS 2), 0) FROM DicomImage
     WHERE frameID IS 0 AND sopInstanceUID IS coalesce(originalSOPInstanceUID, '') || '0');

CREATE TRIGGER DicomImage_instanceInserted AFTER INSERT ON DicomImage
WHEN NEW.frameID IS 0 AND NEW.sopInstanceUID IS coalesce(NEW.originalSOPInstanceUID, '') || '0' BEGIN
    UPDATE Ledger SET instanceCount = instanceCount + 1,
        syncedInstanceCount = syncedInstanceCount + (NEW.syncState IS 1),
        failedInstanceCount = failedInstanceCount + (NEW.syncState IS 2);
END;

CREATE TRIGGER DicomImage_instanceMoved AFTER UPDATE OF syncState ON DicomImage
WHEN OLD.syncState IS NOT NEW.syncState
    AND NEW.frameID IS 0 AND NEW.sopInstanceUID IS coalesce(NEW.originalSOPInstanceUID, '') || '0' BEGIN
    UPDATE Ledger SET
        syncedInstanceCount = syncedInstanceCount + (NEW.syncState IS 1) - (OLD.syncState IS 1),
        failedInstanceCount = failedInstanceCount + (NEW.syncState IS 2) - (OLD.syncState IS 2);
END;

CREATE TRIGGER DicomImage_instanceDeleted AFTER DELETE ON DicomImage
WHEN OLD.frameID IS 0 AND OLD.sopInstanceUID IS coalesce(OLD.originalSOPInstanceUID, '') || '0' BEGIN
    UPDATE Ledger SET instanceCount = instanceCount - 1,
        syncedInstanceCount = syncedInstanceCount - (OLD.syncState IS 1),
        failedInstanceCount = failedInstanceCount - (OLD.syncState IS 2);
END;
)sql";

} // namespace gateway::index
