#include "terminal/instance/settings_disk.h"

#include <QtCore/QFile>

namespace gateway::terminal {

namespace {

// All authorities of a system take some 250 KiB.
constexpr qint64 kLargestCertificateFile = 4 * 1024 * 1024;

std::optional<QString> issueOfCertificates(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("The file %1 can't be read: %2.").arg(path, file.errorString());
    }
    if (!file.read(kLargestCertificateFile).contains("-----BEGIN CERTIFICATE-----")) {
        return QStringLiteral("The file %1 holds no certificate in PEM form.").arg(path);
    }
    return std::nullopt;
}

} // namespace

SettingsDisk SettingsDisk::here()
{
    return {[](const QString &folder) { return wizard::validateFolder(folder); }, issueOfCertificates};
}

} // namespace gateway::terminal
