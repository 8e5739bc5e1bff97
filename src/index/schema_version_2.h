#pragma once

namespace gateway::index {

/// What version 2 adds to version 1. Never changed once released: a later layout is a migration.
///
/// `PendingRemoval` holds the stored files whose rows are gone and which wait to be removed from the disk.
/// `UploadFailure` holds the last failure of each stored file that isn't uploaded; it goes with the file's
/// last row, and when the file is uploaded.
/// `ActivityHour` holds what `Activity` holds, a row an hour: a chart of a year would read 100,000 rows
/// otherwise.
inline constexpr const char *kSchemaVersion2 = R"sql(

CREATE TABLE PendingRemoval (
    pathString TEXT PRIMARY KEY
) WITHOUT ROWID;

CREATE TABLE UploadFailure (
    pathString TEXT PRIMARY KEY,
    failureClass TEXT NOT NULL,
    failureCode INTEGER NOT NULL,
    failedAt REAL NOT NULL
);
CREATE INDEX UploadFailure_failedAt ON UploadFailure (failedAt, pathString);

CREATE TRIGGER DicomImage_uploadedAfterFailure AFTER UPDATE OF syncState ON DicomImage
WHEN NEW.syncState = 1 BEGIN
    DELETE FROM UploadFailure WHERE pathString = NEW.pathString;
END;

CREATE TRIGGER DicomImage_deletedAfterFailure AFTER DELETE ON DicomImage BEGIN
    DELETE FROM UploadFailure WHERE pathString = OLD.pathString
        AND NOT EXISTS (SELECT 1 FROM DicomImage WHERE pathString = OLD.pathString);
END;

CREATE TRIGGER DicomImage_replacedAfterFailure AFTER UPDATE OF pathString ON DicomImage
WHEN OLD.pathString IS NOT NEW.pathString BEGIN
    DELETE FROM UploadFailure WHERE pathString = OLD.pathString
        AND NOT EXISTS (SELECT 1 FROM DicomImage WHERE pathString = OLD.pathString);
END;

CREATE TABLE ActivityHour (
    hour INTEGER PRIMARY KEY,
    received INTEGER NOT NULL,
    sent INTEGER NOT NULL
);
INSERT INTO ActivityHour (hour, received, sent)
    SELECT slot / 12, sum(received), sum(sent) FROM Activity GROUP BY slot / 12;

CREATE TRIGGER Activity_inserted AFTER INSERT ON Activity BEGIN
    INSERT INTO ActivityHour (hour, received, sent) VALUES (NEW.slot / 12, NEW.received, NEW.sent)
        ON CONFLICT (hour) DO UPDATE SET received = received + excluded.received, sent = sent + excluded.sent;
END;

CREATE TRIGGER Activity_counted AFTER UPDATE OF received, sent ON Activity BEGIN
    UPDATE ActivityHour SET received = received + NEW.received - OLD.received,
        sent = sent + NEW.sent - OLD.sent
        WHERE hour = NEW.slot / 12;
END;

)sql";

} // namespace gateway::index
