#pragma once

namespace gateway::index {

/// The tables of version 1. Never changed once released: a later layout is a migration.
///
/// Dates are milliseconds since 1970 in UTC; arrays of numbers are 32-bit floats, little-endian, one after
/// the other. Keys are never used twice (AUTOINCREMENT), so that a result that comes late can't meet a
/// stranger's row. What counts rows is kept by triggers: an image moves its series' counts, a series its
/// study's, a study the ledger's, and a parent whose counts moved is noted as unsettled for the next sweep.
inline constexpr const char *kSchemaVersion1 = R"sql(

CREATE TABLE Ledger (
    pk INTEGER PRIMARY KEY CHECK (pk = 1),
    storeIdentity TEXT NOT NULL,
    nextFileNumber INTEGER NOT NULL DEFAULT 0,
    studyCount INTEGER NOT NULL DEFAULT 0,
    syncedStudyCount INTEGER NOT NULL DEFAULT 0,
    seriesCount INTEGER NOT NULL DEFAULT 0,
    syncedSeriesCount INTEGER NOT NULL DEFAULT 0,
    imageCount INTEGER NOT NULL DEFAULT 0,
    syncedCount INTEGER NOT NULL DEFAULT 0,
    failedCount INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE Study (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    accessionNumber TEXT,
    acquisitionDate INTEGER,
    createDate INTEGER,
    hasDICOM INTEGER,
    id TEXT,
    institutionName TEXT,
    modality TEXT,
    name TEXT,
    performingPhysician TEXT,
    referringPhysician TEXT,
    studyInstanceUID TEXT UNIQUE,
    studyName TEXT,
    syncState INTEGER CHECK (syncState IN (0, 1, 2, 3)),
    imageCount INTEGER NOT NULL DEFAULT 0,
    syncedCount INTEGER NOT NULL DEFAULT 0,
    failedCount INTEGER NOT NULL DEFAULT 0,
    inProgressCount INTEGER NOT NULL DEFAULT 0,
    seriesCount INTEGER NOT NULL DEFAULT 0,
    emptySeriesCount INTEGER NOT NULL DEFAULT 0,
    unsettled INTEGER NOT NULL DEFAULT 1
);
CREATE INDEX Study_unsettled ON Study (unsettled) WHERE unsettled = 1;
CREATE INDEX Study_empty ON Study (seriesCount) WHERE seriesCount = 0;

CREATE TABLE Series (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    study INTEGER NOT NULL REFERENCES Study (pk) ON DELETE CASCADE,
    createDate INTEGER,
    modality TEXT,
    name TEXT,
    numberOfFrames INTEGER,
    originalSeriesInstanceUID TEXT,
    seriesDICOMUID TEXT,
    seriesInstanceUID TEXT,
    seriesNumber INTEGER,
    seriesSOPClassUID TEXT,
    syncState INTEGER CHECK (syncState IN (0, 1, 2, 3)),
    windowLevel REAL,
    windowWidth REAL,
    imageCount INTEGER NOT NULL DEFAULT 0,
    syncedCount INTEGER NOT NULL DEFAULT 0,
    failedCount INTEGER NOT NULL DEFAULT 0,
    inProgressCount INTEGER NOT NULL DEFAULT 0,
    unsettled INTEGER NOT NULL DEFAULT 1,
    UNIQUE (study, seriesInstanceUID)
);
CREATE INDEX Series_unsettled ON Series (unsettled) WHERE unsettled = 1;
CREATE INDEX Series_empty ON Series (imageCount) WHERE imageCount = 0;

CREATE TABLE DicomImage (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    series INTEGER NOT NULL REFERENCES Series (pk) ON DELETE CASCADE,
    comment TEXT,
    createDate INTEGER NOT NULL,
    date INTEGER,
    fileExtension TEXT,
    fileType TEXT,
    frameID INTEGER,
    height INTEGER,
    instanceNumber INTEGER,
    modality TEXT,
    numberOfFrames INTEGER,
    numberOfSeries INTEGER,
    orientation BLOB,
    origin BLOB,
    pathString TEXT,
    seriesInstanceUID TEXT,
    sliceLocation REAL,
    sopInstanceUID TEXT,
    originalSOPInstanceUID TEXT,
    syncState INTEGER CHECK (syncState IN (0, 1, 2, 3)),
    uploadDate INTEGER,
    width INTEGER,
    UNIQUE (series, sopInstanceUID, frameID, originalSOPInstanceUID)
);
CREATE INDEX DicomImage_path ON DicomImage (pathString);
CREATE INDEX DicomImage_waiting ON DicomImage (createDate, pk, pathString)
    WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '';
CREATE INDEX DicomImage_inProgress ON DicomImage (syncState) WHERE syncState = 3;
CREATE INDEX DicomImage_uploaded ON DicomImage (uploadDate) WHERE syncState = 1 AND uploadDate IS NOT NULL;

-- Images received and sent, a row for each five minutes in which there were any.
CREATE TABLE Activity (
    slot INTEGER PRIMARY KEY,
    received INTEGER NOT NULL DEFAULT 0,
    sent INTEGER NOT NULL DEFAULT 0
);

CREATE TRIGGER DicomImage_inserted AFTER INSERT ON DicomImage BEGIN
    UPDATE Series SET imageCount = imageCount + 1,
        syncedCount = syncedCount + (NEW.syncState IS 1),
        failedCount = failedCount + (NEW.syncState IS 2),
        inProgressCount = inProgressCount + (NEW.syncState IS 3),
        unsettled = 1
        WHERE pk = NEW.series;
    INSERT INTO Activity (slot, received) VALUES (NEW.createDate / 300000, 1)
        ON CONFLICT (slot) DO UPDATE SET received = received + 1;
END;

CREATE TRIGGER DicomImage_insertedAsSent AFTER INSERT ON DicomImage
WHEN NEW.syncState = 1 AND NEW.uploadDate IS NOT NULL BEGIN
    INSERT INTO Activity (slot, sent) VALUES (NEW.uploadDate / 300000, 1)
        ON CONFLICT (slot) DO UPDATE SET sent = sent + 1;
END;

CREATE TRIGGER DicomImage_moved AFTER UPDATE OF syncState ON DicomImage
WHEN OLD.syncState IS NOT NEW.syncState BEGIN
    UPDATE Series SET
        syncedCount = syncedCount + (NEW.syncState IS 1) - (OLD.syncState IS 1),
        failedCount = failedCount + (NEW.syncState IS 2) - (OLD.syncState IS 2),
        inProgressCount = inProgressCount + (NEW.syncState IS 3) - (OLD.syncState IS 3),
        unsettled = 1
        WHERE pk = NEW.series;
END;

CREATE TRIGGER DicomImage_received AFTER UPDATE OF createDate ON DicomImage
WHEN OLD.createDate / 300000 <> NEW.createDate / 300000 BEGIN
    UPDATE Activity SET received = received - 1 WHERE slot = OLD.createDate / 300000;
    INSERT INTO Activity (slot, received) VALUES (NEW.createDate / 300000, 1)
        ON CONFLICT (slot) DO UPDATE SET received = received + 1;
END;

CREATE TRIGGER DicomImage_noLongerSent AFTER UPDATE OF syncState, uploadDate ON DicomImage
WHEN OLD.syncState = 1 AND OLD.uploadDate IS NOT NULL BEGIN
    UPDATE Activity SET sent = sent - 1 WHERE slot = OLD.uploadDate / 300000;
END;

CREATE TRIGGER DicomImage_sent AFTER UPDATE OF syncState, uploadDate ON DicomImage
WHEN NEW.syncState = 1 AND NEW.uploadDate IS NOT NULL BEGIN
    INSERT INTO Activity (slot, sent) VALUES (NEW.uploadDate / 300000, 1)
        ON CONFLICT (slot) DO UPDATE SET sent = sent + 1;
END;

CREATE TRIGGER DicomImage_deleted AFTER DELETE ON DicomImage BEGIN
    UPDATE Series SET imageCount = imageCount - 1,
        syncedCount = syncedCount - (OLD.syncState IS 1),
        failedCount = failedCount - (OLD.syncState IS 2),
        inProgressCount = inProgressCount - (OLD.syncState IS 3),
        unsettled = 1
        WHERE pk = OLD.series;
    UPDATE Activity SET received = received - 1 WHERE slot = OLD.createDate / 300000;
    UPDATE Activity SET sent = sent - 1
        WHERE slot = OLD.uploadDate / 300000 AND OLD.syncState = 1;
END;

CREATE TRIGGER Series_inserted AFTER INSERT ON Series BEGIN
    UPDATE Study SET seriesCount = seriesCount + 1, emptySeriesCount = emptySeriesCount + 1, unsettled = 1
        WHERE pk = NEW.study;
    UPDATE Ledger SET seriesCount = seriesCount + 1, syncedSeriesCount = syncedSeriesCount + (NEW.syncState IS 1);
END;

CREATE TRIGGER Series_counted
AFTER UPDATE OF imageCount, syncedCount, failedCount, inProgressCount ON Series BEGIN
    UPDATE Study SET imageCount = imageCount + NEW.imageCount - OLD.imageCount,
        syncedCount = syncedCount + NEW.syncedCount - OLD.syncedCount,
        failedCount = failedCount + NEW.failedCount - OLD.failedCount,
        inProgressCount = inProgressCount + NEW.inProgressCount - OLD.inProgressCount,
        emptySeriesCount = emptySeriesCount + (NEW.imageCount = 0) - (OLD.imageCount = 0),
        unsettled = 1
        WHERE pk = NEW.study;
END;

CREATE TRIGGER Series_moved AFTER UPDATE OF syncState ON Series
WHEN (OLD.syncState IS 1) <> (NEW.syncState IS 1) BEGIN
    UPDATE Ledger SET syncedSeriesCount = syncedSeriesCount + (NEW.syncState IS 1) - (OLD.syncState IS 1);
END;

-- The images go with the row that they belong to; by then it is gone, so their counts leave here in one step.
CREATE TRIGGER Series_deleted AFTER DELETE ON Series BEGIN
    UPDATE Study SET imageCount = imageCount - OLD.imageCount,
        syncedCount = syncedCount - OLD.syncedCount,
        failedCount = failedCount - OLD.failedCount,
        inProgressCount = inProgressCount - OLD.inProgressCount,
        seriesCount = seriesCount - 1,
        emptySeriesCount = emptySeriesCount - (OLD.imageCount = 0),
        unsettled = 1
        WHERE pk = OLD.study;
    UPDATE Ledger SET seriesCount = seriesCount - 1, syncedSeriesCount = syncedSeriesCount - (OLD.syncState IS 1);
END;

CREATE TRIGGER Study_inserted AFTER INSERT ON Study BEGIN
    UPDATE Ledger SET studyCount = studyCount + 1, syncedStudyCount = syncedStudyCount + (NEW.syncState IS 1);
END;

CREATE TRIGGER Study_counted AFTER UPDATE OF imageCount, syncedCount, failedCount ON Study
WHEN NEW.imageCount <> OLD.imageCount OR NEW.syncedCount <> OLD.syncedCount
    OR NEW.failedCount <> OLD.failedCount BEGIN
    UPDATE Ledger SET imageCount = imageCount + NEW.imageCount - OLD.imageCount,
        syncedCount = syncedCount + NEW.syncedCount - OLD.syncedCount,
        failedCount = failedCount + NEW.failedCount - OLD.failedCount;
END;

CREATE TRIGGER Study_moved AFTER UPDATE OF syncState ON Study
WHEN (OLD.syncState IS 1) <> (NEW.syncState IS 1) BEGIN
    UPDATE Ledger SET syncedStudyCount = syncedStudyCount + (NEW.syncState IS 1) - (OLD.syncState IS 1);
END;

CREATE TRIGGER Study_deleted AFTER DELETE ON Study BEGIN
    UPDATE Ledger SET studyCount = studyCount - 1, syncedStudyCount = syncedStudyCount - (OLD.syncState IS 1),
        imageCount = imageCount - OLD.imageCount,
        syncedCount = syncedCount - OLD.syncedCount,
        failedCount = failedCount - OLD.failedCount;
END;

)sql";

} // namespace gateway::index
