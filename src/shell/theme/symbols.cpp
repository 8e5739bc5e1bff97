#include "shell/theme/symbols.h"

#include "shell/theme/theme.h"

#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtGui/QIconEngine>
#include <QtGui/QPainter>
#include <QtGui/QPixmapCache>
#include <QtSvg/QSvgRenderer>

#include <algorithm>

namespace gateway::shell {

namespace {

struct SymbolRow
{
    QStringView symbol;
    const char *icon; // a file of icons/, without its suffix
};

constexpr SymbolRow kSymbols[] = {
    {u"antenna.radiowaves.left.and.right", "radio-tower"},
    {u"arrow.clockwise", "rotate-cw"},
    {u"arrow.clockwise.circle.fill", "rotate-cw"},
    {u"arrow.down", "arrow-down"},
    {u"arrow.down.to.line", "arrow-down-to-line"},
    {u"arrow.triangle.2.circlepath.circle.fill", "refresh-cw"},
    {u"arrow.up", "arrow-up"},
    {u"arrow.up.circle.fill", "circle-arrow-up"},
    {u"arrow.up.doc.fill", "file-up"},
    {u"arrow.up.right.square", "external-link"},
    {u"building.2.fill", "building-2"},
    {u"calendar", "calendar-days"},
    {u"checkmark", "check"},
    {u"checkmark.circle.fill", "circle-check"},
    {u"checkmark.shield.fill", "shield-check"},
    {u"chevron.down", "chevron-down"},
    {u"chevron.left", "chevron-left"},
    {u"chevron.right", "chevron-right"},
    {u"chevron.up", "chevron-up"},
    {u"clock", "clock"},
    {u"cloud.fill", "cloud"},
    {u"cloud.slash", "cloud-off"},
    {u"doc.on.doc", "copy"},
    {u"dot.radiowaves.left.and.right", "radio"},
    {u"ellipsis.circle", "circle-ellipsis"},
    {u"envelope.fill", "mail"},
    {u"exclamationmark.triangle.fill", "triangle-alert"},
    {u"eye", "eye"},
    {u"eye.slash", "eye-off"},
    {u"folder", "folder-open"},
    {u"folder.fill", "folder"},
    {u"gearshape.fill", "settings"},
    {u"info.circle", "info"},
    {u"internaldrive.fill", "hard-drive"},
    {u"key.fill", "key-round"},
    {u"ladybug.fill", "bug"},
    {u"line.3.horizontal.decrease.circle", "list-filter"},
    {u"list.bullet.rectangle", "logs"},
    {u"lock.fill", "lock"},
    {u"magnifyingglass", "search"},
    {u"minus", "minus"},
    {u"network", "network"},
    {u"paperplane.fill", "send"},
    {u"pencil", "pencil"},
    {u"person.crop.circle", "circle-user-round"},
    {u"phone.fill", "phone"},
    {u"photo.stack", "images"},
    {u"play.fill", "play"},
    {u"plus", "plus"},
    {u"power", "power"},
    {u"questionmark.circle", "circle-question-mark"},
    {u"quorinGatewayCloud.fill", "quorin-gateway-cloud"},
    {u"rectangle.portrait.and.arrow.right", "log-out"},
    {u"square.and.arrow.down.fill", "import"},
    {u"square.and.arrow.up", "file-output"},
    {u"square.grid.2x2.fill", "layout-grid"},
    {u"stop.fill", "circle-stop"},
    {u"tablecells", "table"},
    {u"trash", "trash-2"},
    {u"tray.and.arrow.down.fill", "download"},
    {u"tray.and.arrow.up.fill", "upload"},
    {u"tray.fill", "inbox"},
    {u"wand.and.stars", "wand-sparkles"},
    {u"xmark", "x"},
    {u"xmark.circle.fill", "circle-x"},
};

QPixmap painted(const QString &file, const QColor &color, int pixels)
{
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray opaque = color.name(QColor::HexRgb).toLatin1();
    QSvgRenderer renderer(source.readAll().replace("currentColor", opaque));
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setOpacity(color.alphaF());
    renderer.render(&painter);
    return pixmap;
}

/// Paints one symbol in the colour that the theme has at that moment.
///
/// Owner: its QIcon. Thread: main.
class SymbolIconEngine : public QIconEngine
{
public:
    SymbolIconEngine(const Theme &theme, QString symbol, Color color)
        : m_theme(&theme), m_symbol(std::move(symbol)), m_color(color)
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State /*state*/) override
    {
        const qreal ratio = painter->device()->devicePixelRatioF();
        const int edge = std::min(rect.width(), rect.height());
        const QPoint corner = rect.center() - QPoint((edge - 1) / 2, (edge - 1) / 2);
        painter->drawPixmap(corner, inMode(mode, edge, ratio));
    }

    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State /*state*/, qreal scale) override
    {
        const int edge = qRound(std::min(size.width(), size.height()) / scale);
        return inMode(mode, edge, scale);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return scaledPixmap(size, mode, state, 1);
    }

    QIconEngine *clone() const override { return new SymbolIconEngine(*this); }

private:
    QPixmap inMode(QIcon::Mode mode, int edge, qreal ratio) const
    {
        if (m_theme == nullptr) {
            return {};
        }
        return m_theme->pixmap(m_symbol, mode == QIcon::Disabled ? Color::disabled : m_color, edge, ratio);
    }

    QPointer<const Theme> m_theme; // the icon of an action may outlive it
    QString m_symbol;
    Color m_color;
};

} // namespace

QStringList symbolNames()
{
    QStringList names;
    for (const SymbolRow &row : kSymbols) {
        names.append(row.symbol.toString());
    }
    return names;
}

QString symbolFile(QStringView symbol)
{
    const auto row = std::ranges::find(kSymbols, symbol, &SymbolRow::symbol);
    return row == std::end(kSymbols) ? QString()
                                     : QStringLiteral(":/shell/icons/%1.svg").arg(QLatin1String(row->icon));
}

QPixmap symbolPixmap(QStringView symbol, const QColor &color, int edge, qreal devicePixelRatio)
{
    const QString file = symbolFile(symbol);
    const int pixels = qRound(edge * devicePixelRatio);
    if (file.isEmpty() || pixels <= 0) {
        return {};
    }
    const QString key =
        QStringLiteral("%1|%2|%3|%4").arg(file, color.name(QColor::HexArgb)).arg(edge).arg(devicePixelRatio);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = painted(file, color, pixels);
        pixmap.setDevicePixelRatio(devicePixelRatio);
        QPixmapCache::insert(key, pixmap);
    }
    return pixmap;
}

QIcon symbolIcon(const Theme &theme, QStringView symbol, Color color)
{
    return QIcon(new SymbolIconEngine(theme, symbol.toString(), color));
}

} // namespace gateway::shell
