#include "shell/theme/style_sheet.h"

#include "shell/theme/each_token.h"
#include "shell/theme/theme.h"

#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>

namespace gateway::shell {

namespace {

using Values = QHash<QString, QString>;

QString css(const QColor &color)
{
    return QStringLiteral("rgba(%1, %2, %3, %4)")
        .arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alpha());
}

QString px(int length)
{
    return QStringLiteral("%1px").arg(length);
}

Values valuesOf(const Theme &theme)
{
    Values values;
    forEachToken<Color>([&](Color color, const QString &name) {
        values[name] = css(theme.color(color));
        values[QStringLiteral("tint.") + name] = css(theme.tinted(color));
    });
    forEachToken<Radius>([&](Radius which, const QString &name) {
        values[QStringLiteral("radius.") + name] = px(theme.radius(which));
    });
    forEachToken<Space>([&](Space which, const QString &name) {
        values[QStringLiteral("space.") + name] = px(theme.space(which));
    });
    forEachToken<TypeStyle>([&](TypeStyle style, const QString &name) {
        const TypeSpec spec = theme.tokens().type.at(style);
        values[QStringLiteral("font.") + name] = QStringLiteral("%1 %2px").arg(spec.weight).arg(spec.pixels);
    });
    forEachToken<Size>([&](Size which, const QString &name) {
        // Style sheets count a box's height without its border: one pixel a side at rest, two with focus.
        values[QStringLiteral("size.") + name] = px(theme.size(which));
        values[QStringLiteral("inside.") + name] = px(theme.size(which) - 2);
        values[QStringLiteral("insideFocus.") + name] = px(theme.size(which) - 4);
    });
    const QStringList families = QStringList{theme.tokens().uiFamily} + theme.tokens().fallbackFamilies;
    values[QStringLiteral("ui")] = u'"' + families.join(QStringLiteral("\", \"")) + u'"';
    const bool isDark = theme.variant() == Variant::dark;
    values[QStringLiteral("images")] =
        isDark ? QStringLiteral(":/shell/qss/dark") : QStringLiteral(":/shell/qss/light");
    return values;
}

} // namespace

QString filledStyleSheet(const Theme &theme)
{
    QFile file(QStringLiteral(":/shell/style.qss"));
    if (!file.open(QIODevice::ReadOnly)) {
        throw InvalidTokens("style.qss: not in the program");
    }
    const QString source = QString::fromUtf8(file.readAll());
    const Values values = valuesOf(theme);
    static const QRegularExpression name(
        QStringLiteral("@([A-Za-z][A-Za-z0-9]*(?:\\.[A-Za-z][A-Za-z0-9]*)?)"));

    QString filled;
    qsizetype end = 0;
    QRegularExpressionMatchIterator matches = name.globalMatch(source);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const auto value = values.constFind(match.captured(1));
        if (value == values.constEnd()) {
            throw InvalidTokens("style.qss: @" + match.captured(1).toStdString());
        }
        filled += QStringView(source).mid(end, match.capturedStart() - end);
        filled += *value;
        end = match.capturedEnd();
    }
    filled += QStringView(source).mid(end);
    return filled;
}

} // namespace gateway::shell
