#include "receive/bonjour_record.h"

namespace gateway::receive {

std::optional<platform::NetServiceDescription> bonjourRecord(const core::DCMListenerSettings &settings)
{
    const QString title = settings.aeTitle.trimmed();
    if (!settings.advertiseWithBonjour.value_or(true) || title.isEmpty()) {
        return std::nullopt;
    }
    const QByteArray name = title.toUtf8();
    return platform::NetServiceDescription{
        title,
        QStringLiteral("_dicom._tcp."),
        static_cast<quint16>(settings.port),
        {
            {QStringLiteral("UID"), name},
            {QStringLiteral("AETitle"), name},
            {QStringLiteral("serverDescription"), name},
            {QStringLiteral("Description"), name},
            {QStringLiteral("CGET"), QByteArrayLiteral("YES")},
            // Browsing peers look for this very spelling.
            {QStringLiteral("prefferedSyntax"), core::displayText(settings.syntax).toUtf8()},
            {QStringLiteral("icon"), QByteArrayLiteral("desktopcomputer")},
            {QStringLiteral("isQueryable"), QByteArrayLiteral("0")},
        },
    };
}

} // namespace gateway::receive
