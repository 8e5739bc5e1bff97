#pragma once

#include "shell/theme/tokens.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtGui/QColor>
#include <QtGui/QFont>
#include <QtGui/QIcon>
#include <QtGui/QPalette>
#include <QtGui/QPixmap>

#include <chrono>
#include <memory>

class QApplication;

namespace gateway::shell {

/// The look of every screen: colours, sizes, fonts, icons and times, in a dark and a light variant.
///
/// Painters ask it at each painting and repaint on `themeChanged`; what Qt paints follows through the palette
/// and one style sheet.
///
/// Owner: app, before the first widget; exactly one is applied. Thread: main.
class Theme : public QObject
{
    Q_OBJECT

public:
    /// Dark, with motion. Loads the fonts that the program carries.
    explicit Theme(QObject *parent = nullptr);
    ~Theme() override;

    /// Gives the application this look and keeps it current from now on.
    void applyTo(QApplication &application);

    Variant variant() const { return m_variant; }
    void setVariant(Variant variant);

    /// Whether movements are left out: whatever moves jumps to its end, and nothing goes round.
    bool reducedMotion() const { return m_reducedMotion; }
    void setReducedMotion(bool reduced);

    QColor color(Color which) const;

    /// The colour, as thin as a tinted surface wants it.
    QColor tinted(Color which, Strength strength = Strength::tint) const;

    /// Two opaque colours mixed; `share` is the part of `over`, from 0 to 1.
    static QColor mixed(const QColor &under, const QColor &over, double share);

    /// A surface while it is held down: the darker of canvas and text shines through.
    QColor pressed(const QColor &surface) const;

    QFont font(TypeStyle style) const;
    QFont monoFont(TypeStyle style) const;

    int radius(Radius which) const { return m_tokens.radius.at(which); }
    int size(Size which) const { return m_tokens.size.at(which); }
    int space(Space which) const { return m_tokens.space.at(which); }
    std::chrono::milliseconds duration(Motion which) const { return m_tokens.motion.at(which); }

    /// The symbol's icon in the colour, `edge` logical pixels wide and high.
    QPixmap pixmap(QStringView symbol, Color which, int edge, qreal devicePixelRatio) const;

    /// The symbol for buttons, menus and actions. It follows the variant while the theme lives.
    QIcon icon(QStringView symbol, Color which = Color::text2) const;

    QPalette palette() const;
    QString styleSheet() const;

    const Tokens &tokens() const { return m_tokens; }

Q_SIGNALS:
    /// Colours or motion are other ones now.
    void themeChanged();

private:
    void refresh();

    const Tokens m_tokens;
    QList<int> m_fontIds;
    Variant m_variant = Variant::dark;
    bool m_reducedMotion = false;
    QPointer<QApplication> m_application;
    std::unique_ptr<QObject> m_focusWatcher;
    std::unique_ptr<QObject> m_popupShaper;
};

} // namespace gateway::shell
