#pragma once

#include "updates/update_source.h"

#include <QtCore/QString>

#include <functional>

namespace gateway::updates {

/// Hands a package to the system's own installer, which asks the person and holds the rights.
///
/// Owner: app. Thread: any.
class DebianInstaller final : public PackageInstaller
{
public:
    /// Opens a file with the program that the system has for it; false where there is none. Thread: any.
    using OpenFile = std::function<bool(const QString &path)>;

    explicit DebianInstaller(OpenFile openFile);

    bool installsByItself() const override { return false; }
    Outcome install(const QString &verified, const AppcastItem &item) override;

private:
    const OpenFile m_openFile;
};

} // namespace gateway::updates
