#include "shell/controls/accessible_painted.h"

#include <QtCore/QVariant>
#include <QtWidgets/QAccessibleWidget>
#include <QtWidgets/QWidget>

namespace gateway::shell {

namespace {

/// Owner: Qt's cache of accessible interfaces. Thread: main.
class PaintedInterface : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    PaintedInterface(QWidget *widget, const AccessiblePainted &painted)
        : QAccessibleWidget(widget, painted.accessibleRole()), m_painted(painted)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        const QString set = QAccessibleWidget::text(kind);
        return kind == QAccessible::Name && set.isEmpty() ? m_painted.accessibleWords() : set;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ValueInterface && m_painted.accessiblePercentage()) {
            return static_cast<QAccessibleValueInterface *>(this);
        }
        return QAccessibleWidget::interface_cast(type);
    }

    QVariant currentValue() const override { return m_painted.accessiblePercentage().value_or(0); }
    void setCurrentValue(const QVariant & /*value*/) override {}
    QVariant minimumValue() const override { return 0.0; }
    QVariant maximumValue() const override { return 100.0; }
    QVariant minimumStepSize() const override { return 1.0; }

private:
    const AccessiblePainted &m_painted; // the same object as the widget
};

QAccessibleInterface *makeInterface(const QString & /*className*/, QObject *object)
{
    const auto *painted = dynamic_cast<AccessiblePainted *>(object);
    return painted == nullptr ? nullptr : new PaintedInterface(static_cast<QWidget *>(object), *painted);
}

} // namespace

void AccessiblePainted::announceAccessible()
{
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory(makeInterface);
        return true;
    }();
}

} // namespace gateway::shell
