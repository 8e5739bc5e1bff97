#pragma once

#include "dicom_helper/scp/association_request.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::dicom_helper::scp {

/// PS3.8 table 9-18.
enum class ContextResult : std::uint8_t
{
    acceptance = 0,
    userRejection = 1,
    abstractSyntaxNotSupported = 3,
    transferSyntaxesNotSupported = 4
};

struct AnsweredContext
{
    std::uint8_t id = 0;
    ContextResult result = ContextResult::acceptance;
    std::string transferSyntax; // only meant where accepted
};

/// The answers to all proposed contexts, in their order, and what each accepted one carries.
class Negotiation
{
public:
    /// Takes every context that could carry an image, each in one of its own transfer syntaxes. An id that
    /// is proposed again is taken again only where it means the same transfer syntax, for that is
    /// what gives the bytes their meaning.
    explicit Negotiation(const AssociationRequest &request);

    const std::vector<AnsweredContext> &answers() const { return m_answers; }

    /// Empty when the context has not been accepted.
    std::string_view transferSyntax(std::uint8_t id) const { return m_accepted[id]; }

private:
    AnsweredContext answer(const ProposedContext &proposed);

    std::vector<AnsweredContext> m_answers;
    std::array<std::string, 256> m_accepted;
};

/// The one among the proposed transfer syntaxes that loses nothing and costs the sender least; empty when
/// none is a UID.
///
/// That is the first, for the sender knows what it holds and would have to transcode for any other; only
/// where that is Implicit VR or Big Endian and Explicit VR Little Endian is offered too, the latter, since
/// it keeps the value representations of private elements and costs no sender of native data anything.
std::string chooseTransferSyntax(const std::vector<std::string> &proposed);

} // namespace gateway::dicom_helper::scp
