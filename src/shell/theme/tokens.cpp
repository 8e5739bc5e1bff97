#include "shell/theme/tokens.h"

#include "shell/theme/each_token.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace gateway::shell {

namespace {

[[noreturn]] void fail(const QString &key)
{
    throw InvalidTokens("tokens.json: " + key.toStdString());
}

QJsonObject objectIn(const QJsonObject &parent, const QString &key)
{
    const QJsonValue value = parent.value(key);
    if (!value.isObject()) {
        fail(key);
    }
    return value.toObject();
}

int positiveNumber(const QJsonValue &value, const QString &key)
{
    const int number = value.toInt(0);
    if (number <= 0) {
        fail(key);
    }
    return number;
}

QColor colorFrom(const QJsonValue &value, const QString &key)
{
    QString text = value.toString();
    // QColor puts the alpha before the rest, style sheets for the web behind it.
    if (text.size() == 9) {
        text = u'#' + text.mid(7, 2) + text.mid(1, 6);
    }
    const QColor color(text);
    if ((text.size() != 7 && text.size() != 9) || !color.isValid()) {
        fail(key);
    }
    return color;
}

Palette paletteFrom(const QJsonObject &object, const QString &variant)
{
    Palette palette;
    forEachToken<Color>([&](Color color, const QString &name) {
        palette.colors[color] = colorFrom(object.value(name), variant + u'.' + name);
    });
    forEachToken<Strength>([&](Strength strength, const QString &name) {
        const double share = object.value(name).toDouble(-1);
        if (share < 0 || share > 1) {
            fail(variant + u'.' + name);
        }
        palette.strengths[strength] = share;
    });
    return palette;
}

template <typename Enum>
std::map<Enum, int> numbersFrom(const QJsonObject &object)
{
    std::map<Enum, int> numbers;
    forEachToken<Enum>(
        [&](Enum which, const QString &name) { numbers[which] = positiveNumber(object.value(name), name); });
    return numbers;
}

void readFonts(const QJsonObject &root, Tokens &tokens)
{
    const QJsonObject font = objectIn(root, QStringLiteral("font"));
    tokens.uiFamily = font.value(u"ui").toString();
    tokens.monoFamily = font.value(u"mono").toString();
    if (tokens.uiFamily.isEmpty() || tokens.monoFamily.isEmpty()) {
        fail(QStringLiteral("font"));
    }
    const QJsonArray fallback = font.value(u"fallback").toArray();
    for (const auto &family : fallback) {
        tokens.fallbackFamilies.append(family.toString());
    }
    const QJsonObject type = objectIn(root, QStringLiteral("type"));
    forEachToken<TypeStyle>([&](TypeStyle style, const QString &name) {
        const QJsonArray pair = type.value(name).toArray();
        tokens.type[style] = TypeSpec{positiveNumber(pair.at(0), name), positiveNumber(pair.at(1), name)};
    });
}

} // namespace

Tokens Tokens::parse(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject()) {
        fail(QStringLiteral("no JSON object"));
    }
    const QJsonObject root = document.object();

    Tokens tokens;
    readFonts(root, tokens);
    tokens.radius = numbersFrom<Radius>(objectIn(root, QStringLiteral("radius")));
    tokens.size = numbersFrom<Size>(objectIn(root, QStringLiteral("size")));
    const QJsonArray space = root.value(u"space").toArray();
    forEachToken<Space>([&](Space which, const QString &name) {
        tokens.space[which] = positiveNumber(space.at(static_cast<int>(which)), name);
    });
    for (const auto &[which, number] : numbersFrom<Motion>(objectIn(root, QStringLiteral("motion")))) {
        tokens.motion[which] = std::chrono::milliseconds(number);
    }
    forEachToken<Variant>([&](Variant variant, const QString &name) {
        tokens.variants[variant] = paletteFrom(objectIn(root, name), name);
    });
    return tokens;
}

Tokens Tokens::builtIn()
{
    QFile file(QStringLiteral(":/shell/tokens.json"));
    if (!file.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("not in the program"));
    }
    return parse(file.readAll());
}

} // namespace gateway::shell
