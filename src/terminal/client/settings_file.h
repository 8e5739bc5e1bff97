#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <optional>

namespace gateway::terminal {

// Settings as a file, so that several gateways can be set alike: `{"schema", "settings": {key: text}}`, as
// keys and values of `settings list`. Secrets are none of them. Thread: plain functions.

/// Writes what a gateway doesn't keep for itself alone and has a value; an existing file is replaced whole.
///
/// \param settings  as `settings list` answers them.
/// \return why it couldn't be written, or nothing.
std::optional<QString> writeSettingsFile(const QString &path, const QJsonArray &settings);

/// What stands in such a file.
struct SettingsFile
{
    QString problem; ///< why it can't be used; empty when it can
    QJsonObject settings;
};

SettingsFile readSettingsFile(const QString &path);

/// What an import came to, from its answer.
QString importedSettingsText(const QJsonObject &result);

} // namespace gateway::terminal
