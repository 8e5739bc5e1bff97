#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace gateway::platform {

/// The entry of one program in a user's autostart folder.
///
/// Owner: whoever asks. Thread: any, one at a time; each call reads or writes the file.
class Autostart
{
public:
    struct Entry
    {
        QString id;          ///< of the desktop file, without its ending
        QString name;        ///< shown by desktops in their lists
        QStringList command; ///< program and arguments
    };

    /// \param configFolder  the user's, `$XDG_CONFIG_HOME`.
    Autostart(const QString &configFolder, Entry entry);

    /// Whether the session starts the program: the entry is there, and neither desktop nor user have turned
    /// it off.
    bool isEnabled() const;

    /// Writes the entry, or removes it.
    ///
    /// \throws FileError
    void setEnabled(bool enabled);

private:
    const QString m_folder;
    const Entry m_entry;
    const QString m_path;
};

/// A value of the key "Exec": quoted and escaped, so that it names exactly this command.
QString desktopExec(const QStringList &command);

} // namespace gateway::platform
