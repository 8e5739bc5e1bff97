#pragma once

#include "index/gateway_import_error.h"
#include "index/store_turn.h"
#include "platform/dicom/instance_identity.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

namespace gateway::index {

class DicomDB;

/// What an import wrote.
struct ImportedFileSummary
{
    QString patientUID;
    QString studyID;                ///< `studyInstanceUID` of the study
    QStringList seriesKeys;         ///< the keys of the series, in order
    platform::InstanceUid instance; ///< of the dataset; empty where it has none
    QUrl storedFile;                ///< where the file lies in the file store
    QString storagePath;            ///< the same as the rows keep it
    StoreTurn store = {};           ///< whose the path is
    std::int64_t version = 0;       ///< of its dataset; 0 where it wasn't read

    bool operator==(const ImportedFileSummary &) const = default;
};

/// Who else may read or write a source file.
enum class ImportSource
{
    foreign, ///< anybody: the store takes a copy
    ownInbox ///< nobody: durable already and never written again, so the store may share its blocks
};

/// Imports files. Thread: any; it blocks.
class DBServiceProtocol
{
public:
    virtual ~DBServiceProtocol() = default;

    /// Takes one file in and returns when it is durable in file store and index. The source stays.
    ///
    /// \throws GatewayImportError
    virtual ImportedFileSummary importFile(const QUrl &url) = 0;
};

/// Imports into the index. Owner: app. Thread: any.
class DBService final : public DBServiceProtocol
{
public:
    DBService(DicomDB &index, ImportSource source) : m_index(index), m_source(source) {}

    ImportedFileSummary importFile(const QUrl &url) override;

private:
    DicomDB &m_index; // borrowed, outlives this
    const ImportSource m_source;
};

} // namespace gateway::index
