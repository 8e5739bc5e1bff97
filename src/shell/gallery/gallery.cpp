#include "shell/gallery/gallery.h"

#include "shell/controls/button.h"
#include "shell/controls/canvas.h"
#include "shell/controls/card.h"
#include "shell/controls/confirm_dialog.h"
#include "shell/controls/segmented_control.h"
#include "shell/controls/storage_usage_ring.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_label.h"
#include "shell/controls/toast.h"
#include "shell/gallery/sections.h"
#include "shell/theme/theme.h"

#include <QtGui/QEnterEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QScrollArea>

namespace gateway::shell {

namespace {

ConfirmDialog::Question deleteLogs()
{
    return {QStringLiteral("Delete All Logs?"),
            QStringLiteral("This permanently removes all local Quorin Gateway transfer log files."),
            QStringLiteral("Delete"),
            QStringLiteral("Cancel"),
            ConfirmDialog::Kind::loss};
}

} // namespace

Gallery::Gallery(Theme &theme)
    : m_page(new Canvas(theme)), m_toast(new Toast(theme, *this)),
      m_question(new ConfirmDialog(theme, *this, deleteLogs()))
{
    setWindowTitle(QStringLiteral("Gallery"));
    auto *grid = new QGridLayout(m_page);
    const int margin = theme.space(Space::page);
    grid->setContentsMargins(margin, margin, margin, margin);
    grid->setSpacing(theme.space(Space::wide));
    grid->addWidget(head(theme), 0, 0, 1, 2);
    grid->addWidget(typeSection(theme), 1, 0, 1, 2);
    grid->addWidget(buttonSection(theme), 2, 0, 1, 2);
    grid->addWidget(toggleSection(theme), 3, 0, 1, 2);
    grid->addWidget(fieldSection(theme), 4, 0, 1, 2);
    grid->addWidget(storageSection(theme), 5, 0);
    grid->addWidget(stateSection(theme), 5, 1);
    grid->addWidget(progressSection(theme), 6, 0);
    grid->addWidget(tableSection(theme), 6, 1);
    grid->addWidget(emptySection(theme), 7, 0);
    grid->addWidget(popupSection(theme), 7, 1);
    grid->addWidget(symbolSection(theme), 8, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);

    auto *scroll = new QScrollArea;
    scroll->setWidget(m_page);
    scroll->setWidgetResizable(true);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(scroll);
    resize(1240, 860);
}

QWidget &Gallery::page()
{
    return *m_page;
}

void Gallery::tellOfDeletion()
{
    m_toast->showMessage(
        QStringLiteral("checkmark.circle.fill"), QStringLiteral("3 log files are deleted."), Color::green);
}

void Gallery::showOverlays()
{
    m_question->ask();
    tellOfDeletion();
    if (auto *ring = m_page->findChild<StorageUsageRing *>()) {
        auto *scroll = findChild<QScrollArea *>();
        scroll->ensureWidgetVisible(ring);
        QEnterEvent enter({}, {}, {});
        QCoreApplication::sendEvent(ring, &enter);
    }
}

void Gallery::hideOverlays()
{
    m_question->closeSheet();
    m_toast->hide();
}

QWidget *Gallery::head(Theme &theme)
{
    auto *bar = new QWidget;
    auto *row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(theme.space(Space::gap));
    row->addWidget(new TextLabel(theme, QStringLiteral("House style"), TypeStyle::display));
    row->addStretch();
    auto *motion = new Switch(theme, QStringLiteral("Less motion"));
    connect(motion, &QAbstractButton::toggled, &theme, &Theme::setReducedMotion);
    row->addWidget(motion);
    auto *variant = new SegmentedControl(theme);
    variant->addSegment(QStringLiteral("Dark"));
    variant->addSegment(QStringLiteral("Light"));
    connect(variant, &SegmentedControl::currentChanged, &theme, [&theme](int index) {
        theme.setVariant(index == 0 ? Variant::dark : Variant::light);
    });
    connect(&theme, &Theme::themeChanged, variant, [variant, &theme] {
        variant->setCurrentIndex(theme.variant() == Variant::dark ? 0 : 1);
    });
    row->addWidget(variant);

    auto *ask =
        new Button(theme, ButtonKind::destructive, QStringLiteral("Delete Logs"), QStringLiteral("trash"));
    row->addWidget(ask);
    connect(ask, &QAbstractButton::clicked, m_question, &ConfirmDialog::ask);
    connect(m_question, &ConfirmDialog::confirmed, this, &Gallery::tellOfDeletion);
    return bar;
}

QImage pictureOf(QWidget &widget, qreal ratio)
{
    QImage image(widget.size() * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(widget.palette().color(QPalette::Window));
    widget.render(&image);
    return image;
}

} // namespace gateway::shell
