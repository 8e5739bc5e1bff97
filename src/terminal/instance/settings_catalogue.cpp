#include "terminal/instance/settings_catalogue.h"

#include "terminal/instance/settings_table.h"

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
        return {QStringLiteral("%1 is kept by the gateway itself and can't be set.").arg(key), false, false};
    }
    if (const std::optional<QString> issue = setting->write(m_settings, m_defaults, value)) {
        return {*issue, false, false};
    }
    return {{}, false, setting->isListeners};
}

} // namespace gateway::terminal
