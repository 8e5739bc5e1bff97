#include "shell/preferences/category_list.h"

#include "shell/controls/painting.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>
#include <QtWidgets/QStyledItemDelegate>

namespace gateway::shell {

namespace {

constexpr int kRowGap = 4;

QStringView symbolOf(GatewaySettingsItem item)
{
    switch (item) {
    case GatewaySettingsItem::account:
        return u"person.crop.circle";
    case GatewaySettingsItem::listener:
        return u"antenna.radiowaves.left.and.right";
    case GatewaySettingsItem::quorinCloud:
        return u"cloud.fill";
    }
    return {};
}

/// Symbol and title on a rounded ground.
///
/// Owner: the list.
class CategoryDelegate : public QStyledItemDelegate
{
public:
    CategoryDelegate(const Theme &theme, QListWidget &list) : QStyledItemDelegate(&list), m_theme(theme) {}

    QSize sizeHint(const QStyleOptionViewItem & /*option*/, const QModelIndex & /*index*/) const override
    {
        return {0, m_theme.size(Size::controlLarge) + kRowGap};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const bool isSelected = (option.state & QStyle::State_Selected) != 0;
        const bool isHovered = (option.state & QStyle::State_MouseOver) != 0;
        const QRect ground = option.rect.adjusted(0, 0, 0, -kRowGap);
        const double radius = m_theme.radius(Radius::chip);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        if (isSelected || isHovered) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(m_theme.color(isSelected ? Color::selected : Color::hover));
            painter->drawRoundedRect(ground, radius, radius);
        }
        const int gap = m_theme.space(Space::gap);
        const int edge = m_theme.size(Size::icon);
        const auto item = static_cast<GatewaySettingsItem>(index.data(Qt::UserRole).toInt());
        paintSymbol(*painter,
                    m_theme,
                    QRect(ground.left() + gap, ground.top(), edge, ground.height()),
                    symbolOf(item).toString(),
                    isSelected ? Color::blueHi : Color::text2,
                    edge);
        painter->setFont(m_theme.font(TypeStyle::bodyStrong));
        painter->setPen(m_theme.color(isSelected ? Color::text : Color::text2));
        const QRect words = ground.adjusted(gap + edge + gap, 0, -gap, 0);
        const QString title = painter->fontMetrics().elidedText(
            index.data(Qt::DisplayRole).toString(), Qt::ElideRight, words.width());
        painter->drawText(words, Qt::AlignVCenter | Qt::AlignLeft, title);
        const bool isCurrent = (option.state & QStyle::State_HasFocus) != 0;
        if (isCurrent && option.widget != nullptr && showsFocus(*option.widget)) {
            painter->setBrush(Qt::NoBrush);
            paintFocusRing(*painter, m_theme, ground, radius);
        }
        painter->restore();
    }

private:
    const Theme &m_theme;
};

} // namespace

CategoryList::CategoryList(const Theme &theme, QWidget *parent) : QListWidget(parent), m_theme(theme)
{
    setAccessibleName(tr("Categories"));
    setItemDelegate(new CategoryDelegate(theme, *this));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    viewport()->setAutoFillBackground(false);
    add(GatewaySettingsItem::account, tr("Account"));
    add(GatewaySettingsItem::listener, tr("Listener Settings"));
    add(GatewaySettingsItem::quorinCloud, tr("Quorin Cloud Settings"));
    connect(this, &QListWidget::itemSelectionChanged, this, &CategoryList::chosen);
    connect(&theme, &Theme::themeChanged, viewport(), qOverload<>(&QWidget::update));
}

void CategoryList::add(GatewaySettingsItem item, const QString &title)
{
    auto *row = new QListWidgetItem(title, this);
    row->setData(Qt::UserRole, static_cast<int>(item));
    row->setToolTip(title);
}

std::optional<GatewaySettingsItem> CategoryList::selection() const
{
    const QList<QListWidgetItem *> selected = selectedItems();
    return selected.isEmpty() ? std::nullopt
                              : std::optional(static_cast<GatewaySettingsItem>(
                                    selected.first()->data(Qt::UserRole).toInt()));
}

void CategoryList::select(std::optional<GatewaySettingsItem> item)
{
    if (item) {
        setCurrentRow(static_cast<int>(*item), QItemSelectionModel::ClearAndSelect);
    } else {
        clearSelection();
    }
}

QSize CategoryList::sizeHint() const
{
    const int rows = static_cast<int>(kAllGatewaySettingsItems.size());
    return {m_theme.size(Size::rail), rows * (m_theme.size(Size::controlLarge) + kRowGap)};
}

} // namespace gateway::shell
