#pragma once

#include "platform/dicom/store_scp.h"
#include "platform/dicom_protocol/channel.h"

#include <QtCore/QSet>
#include <QtCore/QString>

namespace gateway::platform {

/// Turns the records about associations into callbacks, and sees to it that each association that began
/// ends exactly once.
///
/// Owner: DCMTKStoreSCP, for one run. Thread: the one in start().
class AssociationEvents
{
public:
    /// \param inbox    where the objects lie.
    /// \param channel  takes the requests to end an association; borrowed.
    AssociationEvents(StoreSCPCallbacks callbacks, QString inbox, dicom_protocol::Channel &channel);

    /// Calls what belongs to one record. \return false when the record isn't about an association.
    bool dispatch(const dicom_protocol::Record &record);

    /// Lets the associations that are still open fail, for nobody else will end them.
    void failAll(const QString &message);

private:
    void onStarted(const QString &peer, const QString &association);
    void onProgress(const QString &file, const QString &association);
    void abort(const QString &association);

    StoreSCPCallbacks m_callbacks;
    QString m_inbox;
    dicom_protocol::Channel &m_channel;
    QSet<QString> m_open;
};

} // namespace gateway::platform
