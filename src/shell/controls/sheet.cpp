#include "shell/controls/sheet.h"

#include "shell/controls/painting.h"
#include "shell/controls/text_label.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QShortcutEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr int kPanelWidth = 420;

/// Whether the keyboard is what the operator works with at the moment.
Qt::FocusReason reasonAfter(const QWidget *focusBefore)
{
    return focusBefore != nullptr && showsFocus(*focusBefore) ? Qt::TabFocusReason : Qt::OtherFocusReason;
}

} // namespace

Sheet::Sheet(const Theme &theme, QWidget &window, const QString &title)
    : QWidget(&window), m_theme(theme), m_title(title), m_panel(new QWidget(this)),
      m_body(new QVBoxLayout(m_panel)), m_heading(new TextLabel(theme, title, TypeStyle::h2)),
      m_dim(theme, *this, 0)
{
    announceAccessible();
    setFocusPolicy(Qt::StrongFocus);
    const int page = theme.space(Space::page);
    m_body->setContentsMargins(page, page, page, page);
    m_body->setSpacing(theme.space(Space::wide));
    m_heading->setWordWrap(true);
    m_body->addWidget(m_heading);
    m_panel->setMaximumWidth(kPanelWidth);
    hide();
    window.installEventFilter(this);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void Sheet::setTitle(const QString &title)
{
    if (m_title != title) {
        m_title = title;
        m_heading->setText(title);
        QAccessibleEvent renamed(this, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&renamed);
    }
}

void Sheet::setPanelWidth(int width)
{
    m_panel->setMaximumWidth(width);
}

void Sheet::open(QWidget *first)
{
    m_focusBefore = window()->focusWidget();
    place();
    raise();
    show();
    place(); // the height is known only now that the parts are polished
    m_dim.moveTo(1, Motion::base);
    qApp->installEventFilter(this);
    const QList<QWidget *> all = stops();
    // A hidden one wouldn't get the focus: keys would go on to what is behind the sheet.
    const bool isFirstThere = first != nullptr && first->isVisibleTo(this) && first->isEnabled();
    QWidget *const wanted = isFirstThere ? first : all.isEmpty() ? this : all.first();
    wanted->setFocus(reasonAfter(m_focusBefore));
}

void Sheet::closeSheet()
{
    if (isHidden()) {
        return;
    }
    qApp->removeEventFilter(this);
    const Qt::FocusReason reason = reasonAfter(window()->focusWidget());
    hide();
    m_dim.jumpTo(0);
    if (m_focusBefore != nullptr) {
        m_focusBefore->setFocus(reason);
    }
}

void Sheet::dismiss()
{
    if (m_isDismissible) {
        closeSheet();
        Q_EMIT dismissed();
    }
}

void Sheet::place()
{
    setGeometry(parentWidget()->rect());
    m_body->activate();
    const int room = height() - 2 * m_theme.space(Space::page);
    const int width = std::min(m_panel->maximumWidth(), this->width() - 2 * m_theme.space(Space::page));
    const int wanted =
        m_body->hasHeightForWidth() ? m_body->totalHeightForWidth(width) : m_body->totalSizeHint().height();
    m_panel->resize(width, std::min(std::max(wanted, m_panelMinimumHeight), room));
    m_panel->move((this->width() - m_panel->width()) / 2, (height() - m_panel->height()) / 2);
}

QList<QWidget *> Sheet::stops() const
{
    QList<QWidget *> found;
    QWidget *const start = m_panel;
    for (QWidget *widget = start->nextInFocusChain(); widget != start; widget = widget->nextInFocusChain()) {
        const bool stops = (widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr;
        if (m_panel->isAncestorOf(widget) && widget->isVisibleTo(this) && widget->isEnabled() && stops) {
            found.append(widget);
        }
    }
    return found;
}

bool Sheet::focusNextPrevChild(bool next)
{
    const QList<QWidget *> all = stops();
    if (all.isEmpty()) {
        return true; // handled: the focus stays in the sheet
    }
    const qsizetype at = all.indexOf(window()->focusWidget());
    const qsizetype count = all.size();
    const qsizetype wanted = at < 0 ? (next ? 0 : count - 1) : (at + (next ? 1 : count - 1)) % count;
    all[wanted]->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

bool Sheet::isForeignShortcut(QObject *receiver) const
{
    for (const QObject *object = receiver; object != nullptr; object = object->parent()) {
        if (object == this) {
            return false;
        }
        if (object == window()) {
            return true;
        }
    }
    return false;
}

bool Sheet::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible()) {
        place();
    }
    if (watched == m_panel && event->type() == QEvent::LayoutRequest) {
        place(); // a part came, went, or has other words
        update();
    }
    if (event->type() == QEvent::Shortcut && isVisible() && isForeignShortcut(watched)) {
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void Sheet::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        dismiss();
    } else if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
               m_defaultButton != nullptr) {
        m_defaultButton->click();
    }
    // No key reaches what is behind the sheet.
}

void Sheet::mousePressEvent(QMouseEvent *event)
{
    if (!m_panel->geometry().contains(event->position().toPoint()) && !hasTypedText()) {
        dismiss();
    }
}

bool Sheet::hasTypedText() const
{
    const QList<QLineEdit *> fields = m_panel->findChildren<QLineEdit *>();
    return std::ranges::any_of(fields, [](const QLineEdit *field) {
        return field->isVisible() && field->isModified() && !field->text().isEmpty();
    });
}

void Sheet::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    QColor scrim = m_theme.color(Color::scrim);
    scrim.setAlphaF(scrim.alphaF() * static_cast<float>(m_dim.value()));
    painter.fillRect(rect(), scrim);
    painter.setRenderHint(QPainter::Antialiasing);
    const int radius = m_theme.radius(Radius::window);
    const QRect body = m_panel->geometry();
    paintSoftShadow(painter, m_theme, body, radius);
    QLinearGradient light(body.topLeft(), body.bottomLeft());
    light.setColorAt(0, m_theme.color(Color::cardTop));
    light.setColorAt(1, m_theme.color(Color::card));
    painter.setPen(Qt::NoPen);
    painter.setBrush(light);
    painter.drawRoundedRect(body, radius, radius);
    paintInnerStroke(painter, m_theme, body, radius);
}

} // namespace gateway::shell
