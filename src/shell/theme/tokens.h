#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtGui/QColor>

#include <chrono>
#include <map>
#include <stdexcept>

namespace gateway::shell {

Q_NAMESPACE

/// The colours of a screen by what they are for; each name is a key of tokens.json, in both variants.
enum class Color
{
    canvas,
    rail,
    card,
    cardTop,
    raised,
    hover,
    selected,
    line,
    lineStrong,
    inputBorder,
    text,
    text2,
    muted,
    disabled,
    blue,
    blueHi,
    blueFill,
    blueFillHover,
    onBlue,
    green,
    greenHi,
    onGreen,
    amber,
    amberTint, ///< of tinted surfaces: dark enough for words, amber is brown, and its tint beige
    red,
    redFill,
    redFillHover,
    onRed,
    violet,
    cyan,
    focus,
    switchOn,
    shadow,
    scrim
};
Q_ENUM_NS(Color)

/// The sizes and weights of text.
enum class TypeStyle
{
    display,
    h1,
    h2,
    h3,
    body,
    bodyStrong,
    small,
    axis
};
Q_ENUM_NS(TypeStyle)

/// Corner radii.
enum class Radius
{
    control,
    chip,
    card,
    window
};
Q_ENUM_NS(Radius)

/// Heights and edges.
enum class Size
{
    control,
    controlLarge,
    row,
    rowCompact,
    icon,
    iconChip,
    rail
};
Q_ENUM_NS(Size)

/// Distances, by their place on the grid from the narrowest to the widest.
enum class Space
{
    hair,
    tight,
    gap,
    wide,
    inset,
    page,
    section,
    chapter
};
Q_ENUM_NS(Space)

/// How long a movement lasts; `flowPeriod` is one round of what moves while bytes do.
enum class Motion
{
    fast,
    base,
    slow,
    flowPeriod
};
Q_ENUM_NS(Motion)

/// How much of a colour a tinted surface takes.
enum class Strength
{
    tint,
    glow,
    areaTop
};
Q_ENUM_NS(Strength)

/// The two faces of the program.
enum class Variant
{
    dark,
    light
};
Q_ENUM_NS(Variant)

/// tokens.json lacks something or holds something that can't be read.
class InvalidTokens : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A text style's size in pixels and its weight on the scale from 1 to 1000.
struct TypeSpec
{
    int pixels = 0;
    int weight = 0;
};

/// The colours of one variant.
struct Palette
{
    std::map<Color, QColor> colors;
    std::map<Strength, double> strengths;
};

/// Everything that tokens.json says, complete: each enumerator of this file has a value.
///
/// Owner: Theme. Thread: any, once made.
struct Tokens
{
    /// Reads the file's text.
    ///
    /// Colours are written as in style sheets for the web: "#RRGGBB" or "#RRGGBBAA".
    /// \throws InvalidTokens naming the key that is absent or unreadable.
    static Tokens parse(const QByteArray &json);

    /// Reads the tokens that the program carries.
    static Tokens builtIn();

    QString uiFamily;
    QString monoFamily;
    QStringList fallbackFamilies;
    std::map<TypeStyle, TypeSpec> type;
    std::map<Radius, int> radius;
    std::map<Size, int> size;
    std::map<Space, int> space;
    std::map<Motion, std::chrono::milliseconds> motion;
    std::map<Variant, Palette> variants;
};

} // namespace gateway::shell
