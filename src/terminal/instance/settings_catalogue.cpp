#include "terminal/instance/settings_catalogue.h"

#include "terminal/instance/settings_table.h"

#include <QtCore/QTemporaryDir>

#include <algorithm>

namespace gateway::terminal {

namespace {

const CatalogueSetting *settingNamed(const QString &key)
{
    const QList<CatalogueSetting> &table = settingsTable();
    const auto found = std::find_if(
        table.cbegin(), table.cend(), [&](const CatalogueSetting &setting) { return setting.key == key; });
    return found == table.cend() ? nullptr : &*found;
}

QString isFixedWords(const QString &key)
{
    return QStringLiteral("%1 is kept by the gateway itself and can't be set.").arg(key);
}

} // namespace

QList<SettingsCatalogue::Entry> SettingsCatalogue::list() const
{
    QList<Entry> entries;
    for (const CatalogueSetting &setting : settingsTable()) {
        entries.append({setting.key, setting.read(m_settings, m_defaults), !setting.write});
    }
    return entries;
}

std::optional<QString> SettingsCatalogue::get(const QString &key) const
{
    const CatalogueSetting *setting = settingNamed(key);
    return setting == nullptr ? std::nullopt : std::optional(setting->read(m_settings, m_defaults));
}

SettingsCatalogue::Outcome SettingsCatalogue::set(const QString &key, const QString &value)
{
    const CatalogueSetting *setting = settingNamed(key);
    if (setting == nullptr) {
        return {{}, true, false};
    }
    if (!setting->write) {
        return {isFixedWords(key), false, false};
    }
    if (const std::optional<QString> issue = setting->write({m_settings, m_defaults, m_disk}, value)) {
        return {*issue, false, false};
    }
    return {{}, false, setting->isListeners};
}

SettingsCatalogue::Changes SettingsCatalogue::setAll(const QMap<QString, QString> &values)
{
    for (auto each = values.cbegin(); each != values.cend(); ++each) {
        const CatalogueSetting *setting = settingNamed(each.key());
        if (setting == nullptr || !setting->write) {
            return {setting == nullptr ? QStringLiteral("There is no setting named %1.").arg(each.key())
                                       : isFixedWords(each.key()),
                    {},
                    false};
        }
    }
    const QTemporaryDir folder;
    platform::UserDefaults trial(folder.filePath(QStringLiteral("defaults.sqlite")));
    for (const QString &key : m_defaults.keys()) {
        trial.setObject(key, m_defaults.object(key).value_or(QVariant()));
    }
    core::Settings settings(trial);
    const Changes tried = SettingsCatalogue(settings, trial, m_disk).setInOrder(values);
    if (!tried.issue.isEmpty()) {
        return {tried.issue + QStringLiteral(" Nothing was changed."), {}, false};
    }
    Changes made = setInOrder(values);
    if (!made.issue.isEmpty()) {
        made.issue += QStringLiteral(" Changed before that: %1.")
                          .arg(made.changed.isEmpty() ? QStringLiteral("nothing")
                                                      : made.changed.join(QStringLiteral(", ")));
    }
    return made;
}

/// In the order of the table; up to the first that isn't taken.
SettingsCatalogue::Changes SettingsCatalogue::setInOrder(const QMap<QString, QString> &values)
{
    Changes changes;
    for (const CatalogueSetting &setting : settingsTable()) {
        if (!values.contains(setting.key) ||
            setting.read(m_settings, m_defaults) == values.value(setting.key)) {
            continue;
        }
        const Outcome outcome = set(setting.key, values.value(setting.key));
        if (!outcome.issue.isEmpty()) {
            changes.issue = outcome.issue;
            return changes;
        }
        changes.changed.append(setting.key);
        changes.needsListenerRestart = changes.needsListenerRestart || outcome.needsListenerRestart;
    }
    return changes;
}

} // namespace gateway::terminal
