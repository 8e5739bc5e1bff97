#include "core/appearance.h"

namespace gateway::core {

QString rawValue(Appearance appearance)
{
    switch (appearance) {
    case Appearance::dark:
        return QStringLiteral("dark");
    case Appearance::light:
        return QStringLiteral("light");
    case Appearance::desktop:
        return QStringLiteral("desktop");
    }
    return {};
}

std::optional<Appearance> appearanceFromRawValue(const QString &text)
{
    for (const Appearance appearance : kAllAppearances) {
        if (text == rawValue(appearance)) {
            return appearance;
        }
    }
    return std::nullopt;
}

} // namespace gateway::core
