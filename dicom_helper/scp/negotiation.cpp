#include "dicom_helper/scp/negotiation.h"

#include "dicom_helper/scp/sop_classes.h"

#include <algorithm>

namespace gateway::dicom_helper::scp {

namespace {

constexpr std::string_view kImplicitLittleEndian = "1.2.840.10008.1.2";
constexpr std::string_view kExplicitLittleEndian = "1.2.840.10008.1.2.1";
constexpr std::string_view kExplicitBigEndian = "1.2.840.10008.1.2.2";

bool contains(const std::vector<std::string> &list, std::string_view wanted)
{
    return std::find(list.begin(), list.end(), wanted) != list.end();
}

} // namespace

std::string chooseTransferSyntax(const std::vector<std::string> &proposed)
{
    const auto first = std::find_if(proposed.begin(), proposed.end(), isPlainUid);
    if (first == proposed.end()) {
        return {};
    }
    const bool isNative = *first == kImplicitLittleEndian || *first == kExplicitBigEndian;
    return isNative && contains(proposed, kExplicitLittleEndian) ? std::string(kExplicitLittleEndian)
                                                                 : *first;
}

Negotiation::Negotiation(const AssociationRequest &request)
{
    m_answers.reserve(request.contexts.size());
    for (const ProposedContext &proposed : request.contexts) {
        m_answers.push_back(answer(proposed));
    }
}

AnsweredContext Negotiation::answer(const ProposedContext &proposed)
{
    AnsweredContext answer{
        proposed.id, ContextResult::acceptance, chooseTransferSyntax(proposed.transferSyntaxes)};
    std::string &accepted = m_accepted[proposed.id];
    if (!isTakenSopClass(proposed.abstractSyntax)) {
        answer.result = ContextResult::abstractSyntaxNotSupported;
    } else if (answer.transferSyntax.empty()) {
        answer.result = ContextResult::transferSyntaxesNotSupported;
    } else if (accepted.empty()) {
        accepted = answer.transferSyntax;
    } else if (contains(proposed.transferSyntaxes, accepted)) {
        answer.transferSyntax = accepted;
    } else {
        answer.result = ContextResult::userRejection;
    }
    return answer;
}

} // namespace gateway::dicom_helper::scp
