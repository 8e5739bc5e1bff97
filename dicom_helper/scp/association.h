#pragma once

#include "dicom_helper/scp/command_set.h"
#include "dicom_helper/scp/incoming_instance.h"
#include "dicom_helper/scp/negotiation.h"
#include "dicom_helper/scp/pdu_parser.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::scp {

/// What an association needs of the world around it.
class AssociationOutlet
{
public:
    virtual ~AssociationOutlet() = default;

    /// Sends bytes to the peer. \return false when the peer can't be reached any more.
    virtual bool send(std::string_view bytes) = 0;

    /// An object has been kept and acknowledged; its file has this name in the inbox.
    virtual void onStored(const std::string &finalName) = 0;
};

/// One open association: answers C-ECHO, keeps what C-STORE brings, answers whatever else is asked.
///
/// Knows no socket: it is fed with the bytes that come and sends through its outlet.
/// Owner: the association's process. Thread: one.
class Association : private PduSink
{
public:
    enum class State
    {
        open,
        released, ///< the peer ended it in good order and has been answered
        aborted,  ///< the peer ended it at once
        cut       ///< an answer could not be sent
    };

    /// \param fileNames  what the names of this association's files begin with; unguessable.
    /// \param claim  of this association alone.
    Association(const AssociationRequest &request,
                InboxDisk &disk,
                AssociationOutlet &outlet,
                std::string fileNames,
                SpaceClaim claim);

    /// The answer to the request, to be sent first.
    std::string accept() const;

    /// Takes the bytes that came next. \throws ProtocolError when only an abort can follow.
    void take(std::string_view bytes) { m_parser.take(bytes, *this); }

    State state() const { return m_state; }

    /// Whether an object has begun and isn't answered yet.
    bool isInsideObject() const { return m_instance.has_value(); }

    /// Whether something has begun, be it a PDU or a message, that more must follow of.
    bool isInsideMessage() const { return m_dataSetFollows || m_commandContext || m_parser.isInsidePdu(); }

    /// How many objects were not kept, and why the last wasn't.
    int refusedObjects() const { return m_refusedObjects; }
    const std::string &lastRefusal() const { return m_lastRefusal; }

private:
    void
    onFragment(std::uint8_t contextId, std::uint8_t control, std::string_view piece, bool endsValue) override;
    void onReleaseRequest() override;
    void onAbort() override;

    void onCommandPiece(std::uint8_t contextId, std::string_view piece, bool endsCommand);
    void onDataSetPiece(std::uint8_t contextId, std::string_view piece, bool endsDataSet);
    void onCommand(std::uint8_t contextId);
    void onMessage();
    void finishStore();
    void refuseObject(std::uint16_t status, std::string why);
    void respond(std::uint16_t status, std::string_view comment);

    const AssociationRequest &m_request;
    Negotiation m_negotiation;
    InboxDisk &m_disk;
    AssociationOutlet &m_outlet;
    std::string m_fileNames;
    SpaceClaim m_claim;

    PduParser m_parser;
    State m_state = State::open;
    std::string m_commandBytes;
    std::optional<std::uint8_t> m_commandContext; // of the command whose fragments come
    CommandSet m_command;
    std::uint8_t m_contextId = 0;
    bool m_dataSetFollows = false;
    std::optional<IncomingInstance> m_instance;
    int m_objects = 0;
    int m_refusedObjects = 0;
    std::string m_lastRefusal;
};

} // namespace gateway::dicom_helper::scp
