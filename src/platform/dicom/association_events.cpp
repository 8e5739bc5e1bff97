#include "platform/dicom/association_events.h"

#include "platform/dicom/inbox_files.h"

#include <utility>

namespace gateway::platform {

using dicom_protocol::Record;

namespace {

QString textOf(const Record &record, std::string_view field)
{
    const std::string_view text = record.text(field);
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

AssociationEvents::AssociationEvents(StoreSCPCallbacks callbacks,
                                     QString inbox,
                                     dicom_protocol::Channel &channel)
    : m_callbacks(std::move(callbacks)), m_inbox(std::move(inbox)), m_channel(channel)
{
}

bool AssociationEvents::dispatch(const Record &record)
{
    const QString association = textOf(record, "association");
    if (record.word == "started") {
        onStarted(textOf(record, "peer"), association);
    } else if (record.word == "progress") {
        onProgress(textOf(record, "file"), association);
    } else if (record.word == "complete") {
        if (m_open.remove(association) && m_callbacks.complete) {
            m_callbacks.complete(association);
        }
    } else if (record.word == "failed") {
        if (m_open.remove(association) && m_callbacks.failed) {
            m_callbacks.failed(association, textOf(record, "message"));
        }
    } else if (record.word == "turnedaway") {
        if (m_callbacks.turnedAway) {
            m_callbacks.turnedAway(
                {textOf(record, "reason"), textOf(record, "host"), record.number("count", 0)});
        }
    } else if (record.word == "leftover") {
        if (m_callbacks.leftFiles) {
            m_callbacks.leftFiles();
        }
    } else {
        return false;
    }
    return true;
}

void AssociationEvents::onStarted(const QString &peer, const QString &association)
{
    m_open.insert(association);
    if (m_callbacks.started) {
        m_callbacks.started(peer, association);
    }
    if (m_callbacks.shouldAcceptAssoc && !m_callbacks.shouldAcceptAssoc()) {
        abort(association);
    }
}

void AssociationEvents::onProgress(const QString &file, const QString &association)
{
    const std::optional<QString> path = inboxFile(m_inbox, file);
    if (!path) {
        if (m_callbacks.misnamed) {
            m_callbacks.misnamed(association);
        }
        return;
    }
    if (m_callbacks.incomingData) {
        m_callbacks.incomingData();
    }
    if (m_callbacks.progress) {
        m_callbacks.progress(1.0, QString(), *path, association);
    }
    if (m_callbacks.isCancelled && m_callbacks.isCancelled(association)) {
        abort(association);
    }
}

void AssociationEvents::abort(const QString &association)
{
    m_channel.trySend(Record{"abort", {{"association", association.toStdString()}}});
}

void AssociationEvents::failAll(const QString &message)
{
    for (const QString &association : std::exchange(m_open, {})) {
        if (m_callbacks.failed) {
            m_callbacks.failed(association, message);
        }
    }
}

} // namespace gateway::platform
