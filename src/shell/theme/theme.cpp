#include "shell/theme/theme.h"

#include "platform/concurrency/main_thread.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/house_style.h"
#include "shell/theme/popup_shaper.h"
#include "shell/theme/style_sheet.h"
#include "shell/theme/symbols.h"

#include <QtCore/QDir>
#include <QtGui/QFontDatabase>
#include <QtWidgets/QApplication>
#include <QtWidgets/QToolTip>

namespace gateway::shell {

namespace {

QFont fontOf(const QString &family, const Tokens &tokens, TypeStyle style)
{
    const TypeSpec spec = tokens.type.at(style);
    QFont font;
    font.setFamilies(QStringList{family} + tokens.fallbackFamilies);
    font.setPixelSize(spec.pixels);
    font.setWeight(static_cast<QFont::Weight>(spec.weight));
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

} // namespace

Theme::Theme(QObject *parent) : QObject(parent), m_tokens(Tokens::builtIn())
{
    platform::assertMainThread("Theme");
    const QDir fonts(QStringLiteral(":/shell/fonts"));
    for (const QString &name : fonts.entryList()) {
        m_fontIds.append(QFontDatabase::addApplicationFont(fonts.filePath(name)));
    }
}

Theme::~Theme()
{
    if (m_application != nullptr) {
        m_application->setStyleSheet({});
    }
    for (const int id : std::as_const(m_fontIds)) {
        QFontDatabase::removeApplicationFont(id);
    }
}

void Theme::applyTo(QApplication &application)
{
    m_application = &application;
    m_focusWatcher = std::make_unique<FocusWatcher>(application);
    m_popupShaper = std::make_unique<PopupShaper>(*this, application);
    QApplication::setStyle(new HouseStyle);
    refresh();
}

void Theme::setVariant(Variant variant)
{
    if (m_variant != variant) {
        m_variant = variant;
        refresh();
    }
}

void Theme::setReducedMotion(bool reduced)
{
    if (m_reducedMotion != reduced) {
        m_reducedMotion = reduced;
        Q_EMIT themeChanged();
    }
}

void Theme::refresh()
{
    if (m_application != nullptr) {
        QApplication::setFont(font(TypeStyle::body));
        QApplication::setPalette(palette());
        QToolTip::setPalette(palette());
        QToolTip::setFont(font(TypeStyle::small));
        m_application->setStyleSheet(styleSheet());
    }
    Q_EMIT themeChanged();
}

QColor Theme::color(Color which) const
{
    return m_tokens.variants.at(m_variant).colors.at(which);
}

QColor Theme::tinted(Color which, Strength strength) const
{
    QColor result = color(which == Color::amber ? Color::amberTint : which);
    result.setAlphaF(static_cast<float>(m_tokens.variants.at(m_variant).strengths.at(strength)));
    return result;
}

QColor Theme::mixed(const QColor &under, const QColor &over, double share)
{
    const auto part = [share](int from, int to) { return qRound(from + (to - from) * share); };
    return {
        part(under.red(), over.red()), part(under.green(), over.green()), part(under.blue(), over.blue())};
}

QColor Theme::pressed(const QColor &surface) const
{
    constexpr double kShare = 0.2;
    return mixed(surface, color(m_variant == Variant::dark ? Color::canvas : Color::text), kShare);
}

QFont Theme::font(TypeStyle style) const
{
    return fontOf(m_tokens.uiFamily, m_tokens, style);
}

QFont Theme::monoFont(TypeStyle style) const
{
    return fontOf(m_tokens.monoFamily, m_tokens, style);
}

QPixmap Theme::pixmap(QStringView symbol, Color which, int edge, qreal devicePixelRatio) const
{
    return symbolPixmap(symbol, color(which), edge, devicePixelRatio);
}

QIcon Theme::icon(QStringView symbol, Color which) const
{
    return symbolIcon(*this, symbol, which);
}

QPalette Theme::palette() const
{
    QPalette result;
    const std::pair<QPalette::ColorRole, Color> roles[] = {
        {QPalette::Window, Color::canvas},
        {QPalette::WindowText, Color::text},
        {QPalette::Base, Color::card},
        {QPalette::AlternateBase, Color::raised},
        {QPalette::Text, Color::text},
        {QPalette::PlaceholderText, Color::muted},
        {QPalette::Button, Color::raised},
        {QPalette::ButtonText, Color::text},
        {QPalette::BrightText, Color::red},
        {QPalette::ToolTipBase, Color::raised},
        {QPalette::ToolTipText, Color::text},
        {QPalette::Highlight, Color::blueFill},
        {QPalette::HighlightedText, Color::onBlue},
        {QPalette::Link, Color::blue},
        {QPalette::LinkVisited, Color::violet},
        {QPalette::Light, Color::hover},
        {QPalette::Midlight, Color::raised},
        {QPalette::Mid, Color::inputBorder},
        {QPalette::Dark, Color::rail},
        {QPalette::Shadow, Color::canvas},
    };
    for (const auto &[role, which] : roles) {
        result.setColor(role, color(which));
    }
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        result.setColor(QPalette::Disabled, role, color(Color::disabled));
    }
    result.setColor(QPalette::Disabled, QPalette::Highlight, color(Color::hover));
    result.setColor(QPalette::Disabled, QPalette::HighlightedText, color(Color::disabled));
    return result;
}

QString Theme::styleSheet() const
{
    return filledStyleSheet(*this);
}

} // namespace gateway::shell
