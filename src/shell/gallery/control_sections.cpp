#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/chip.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/form_field.h"
#include "shell/controls/segmented_control.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/controls/unified_card_header.h"
#include "shell/gallery/sections.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaEnum>
#include <QtGui/QEnterEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QMenu>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QSpinBox>

#include <memory>

namespace gateway::shell {

namespace {

constexpr Forced kStates[] = {Forced::rest,
                              Forced::hover,
                              Forced::pressed,
                              Forced::focus,
                              Forced::selected,
                              Forced::disabled,
                              Forced::busy};

/// A colour on a field of its own, with its name.
///
/// Owner: its parent. Thread: main.
class Swatch : public QWidget
{
public:
    Swatch(const Theme &theme, QString name, Color color)
        : m_theme(theme), m_name(std::move(name)), m_color(color)
    {
        setFixedSize(108, 44);
        connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(m_theme.color(Color::lineStrong));
        painter.setBrush(m_theme.color(m_color));
        painter.drawRoundedRect(QRectF(0.5, 0.5, width() - 8, 22), 6, 6);
        painter.setPen(m_theme.color(Color::muted));
        painter.setFont(m_theme.font(TypeStyle::axis));
        painter.drawText(rect().adjusted(1, 26, 0, 0), Qt::AlignLeft | Qt::AlignTop, m_name);
    }

private:
    const Theme &m_theme;
    const QString m_name;
    const Color m_color;
};

QString stateName(Forced state)
{
    switch (state) {
    case Forced::rest:
        return QStringLiteral("Rest");
    case Forced::hover:
        return QStringLiteral("Hover");
    case Forced::pressed:
        return QStringLiteral("Pressed");
    case Forced::focus:
        return QStringLiteral("Focus");
    case Forced::selected:
        return QStringLiteral("Selected");
    case Forced::disabled:
        return QStringLiteral("Disabled");
    case Forced::busy:
        return QStringLiteral("Busy");
    }
    return {};
}

Card *cardWith(const Theme &theme, const QString &title, const QString &symbol)
{
    auto *card = new Card(theme);
    card->body().addWidget(new UnifiedCardHeader(theme, symbol, title, Color::blue));
    return card;
}

/// A check box, a radio button and a chip do nothing that could take a while.
bool canBe(const QWidget &widget, Forced state)
{
    return state != Forced::busy || qobject_cast<const Button *>(&widget) != nullptr ||
           qobject_cast<const Switch *>(&widget) != nullptr;
}

/// One row: its name, then one control for each state that it has.
template <typename Make>
void addRow(const Theme &theme, QGridLayout &grid, const QString &name, Make make)
{
    const int row = grid.rowCount();
    grid.addWidget(new TextLabel(theme, name, TypeStyle::small, Color::muted), row, 0);
    int column = 1;
    for (const Forced state : kStates) {
        std::unique_ptr<QWidget> control(make());
        if (canBe(*control, state)) {
            force(*control, state);
            grid.addWidget(control.release(), row, column, Qt::AlignLeft | Qt::AlignVCenter);
        }
        ++column;
    }
}

QGridLayout *stateGrid(const Theme &theme, Card &card)
{
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(theme.space(Space::wide));
    grid->setVerticalSpacing(theme.space(Space::gap));
    int column = 1;
    for (const Forced state : kStates) {
        grid->addWidget(new TextLabel(theme, stateName(state), TypeStyle::axis, Color::muted), 0, column++);
    }
    grid->setColumnStretch(column, 1);
    card.body().addLayout(grid);
    return grid;
}

} // namespace

void force(QWidget &widget, Forced state)
{
    auto *button = qobject_cast<QAbstractButton *>(&widget);
    if (state == Forced::hover) {
        widget.setAttribute(Qt::WA_UnderMouse);
        QEnterEvent enter({}, {}, {});
        QCoreApplication::sendEvent(&widget, &enter);
        widget.setAttribute(Qt::WA_UnderMouse);
    } else if (state == Forced::focus) {
        widget.setProperty(kShowsFocusProperty, true);
    } else if (state == Forced::disabled) {
        widget.setEnabled(false);
    } else if (state == Forced::pressed && button != nullptr) {
        button->setDown(true);
    } else if (state == Forced::selected && button != nullptr) {
        button->setCheckable(true);
        button->setChecked(true);
    } else if (auto *house = qobject_cast<Button *>(&widget); state == Forced::busy && house != nullptr) {
        house->setBusy(true);
    } else if (auto *toggle = qobject_cast<Switch *>(&widget); state == Forced::busy && toggle != nullptr) {
        toggle->setBusy(true);
    }
}

Card *typeSection(const Theme &theme)
{
    Card *card = cardWith(theme, QStringLiteral("Type and colour"), QStringLiteral("pencil"));
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::section));
    auto *column = new QVBoxLayout;
    const QMetaEnum styles = QMetaEnum::fromType<TypeStyle>();
    for (int index = 0; index < styles.keyCount(); ++index) {
        const auto style = static_cast<TypeStyle>(styles.value(index));
        const TypeSpec spec = theme.tokens().type.at(style);
        const QString words = QStringLiteral("%1 %2/%3 - images are safe here")
                                  .arg(QLatin1String(styles.key(index)))
                                  .arg(spec.pixels)
                                  .arg(spec.weight);
        column->addWidget(new TextLabel(theme, words, style));
    }
    auto *mono = new TextLabel(
        theme, QStringLiteral("2026-02-14 09:41:07  1.2.840.10008.5.1.4"), TypeStyle::small, Color::text2);
    mono->setMono();
    column->addWidget(mono);
    row->addLayout(column);
    auto *colors = new QGridLayout;
    const QMetaEnum names = QMetaEnum::fromType<Color>();
    for (int index = 0; index < names.keyCount(); ++index) {
        const QString name = QString::fromLatin1(names.key(index));
        colors->addWidget(
            new Swatch(theme, name, static_cast<Color>(names.value(index))), index / 6, index % 6);
    }
    row->addStretch();
    row->addLayout(colors);
    card->body().addLayout(row);
    return card;
}

Card *buttonSection(const Theme &theme)
{
    Card *card = cardWith(theme, QStringLiteral("Buttons"), QStringLiteral("power"));
    QGridLayout *grid = stateGrid(theme, *card);
    const std::pair<ButtonKind, const char *> kinds[] = {
        {ButtonKind::primary, "Primary"},
        {ButtonKind::secondary, "Secondary"},
        {ButtonKind::quiet, "Quiet"},
        {ButtonKind::destructive, "Destructive"},
        {ButtonKind::destructiveFinal, "Last step"},
    };
    for (const auto &[kind, name] : kinds) {
        addRow(theme, *grid, QString::fromLatin1(name), [&theme, which = kind] {
            return new Button(theme, which, QStringLiteral("Upload now"));
        });
    }
    addRow(theme, *grid, QStringLiteral("Capsule"), [&theme] {
        return new CapsuleButton(theme, QStringLiteral("View Logs"), QStringLiteral("list.bullet.rectangle"));
    });
    addRow(theme, *grid, QStringLiteral("With a menu"), [&theme] {
        auto *button = new CapsuleButton(theme, QStringLiteral("More"), QStringLiteral("ellipsis.circle"));
        button->setMenu(new QMenu(button));
        return button;
    });
    addRow(theme, *grid, QStringLiteral("Icon alone"), [&theme] {
        return new Button(theme, ButtonKind::quiet, {}, QStringLiteral("arrow.clockwise"));
    });
    addRow(theme, *grid, QStringLiteral("Filter chip"), [&theme] {
        return new FilterChip(theme, QStringLiteral("Listener"));
    });
    return card;
}

Card *toggleSection(const Theme &theme)
{
    Card *card = cardWith(theme, QStringLiteral("Choices"), QStringLiteral("checkmark"));
    QGridLayout *grid = stateGrid(theme, *card);
    addRow(theme, *grid, QStringLiteral("Switch"), [&theme] { return new Switch(theme); });
    addRow(theme, *grid, QStringLiteral("Switch, listener"), [&theme] {
        auto *toggle = new Switch(theme, {}, Color::switchOn);
        toggle->setChecked(true);
        return toggle;
    });
    addRow(
        theme, *grid, QStringLiteral("Check box"), [] { return new QCheckBox(QStringLiteral("Batches")); });
    addRow(theme, *grid, QStringLiteral("Radio button"), [] {
        auto *button = new QRadioButton(QStringLiteral("Days"));
        button->setAutoExclusive(false);
        return button;
    });
    auto *row = new QHBoxLayout;
    for (const bool enabled : {true, false}) {
        auto *control = new SegmentedControl(theme);
        control->addSegment(QStringLiteral("Dashboard"), QStringLiteral("square.grid.2x2.fill"));
        control->addSegment(QStringLiteral("Logs"), QStringLiteral("list.bullet.rectangle"));
        control->addSegment(QStringLiteral("Storage"));
        control->setEnabled(enabled);
        row->addWidget(control);
    }
    row->addStretch();
    card->body().addLayout(row);
    return card;
}

Card *fieldSection(const Theme &theme)
{
    Card *card = cardWith(theme, QStringLiteral("Fields"), QStringLiteral("magnifyingglass"));
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(theme.space(Space::wide));
    grid->setVerticalSpacing(theme.space(Space::wide));
    const auto text = [&theme](const char *words) {
        auto *field = new TextField(theme, QStringLiteral("Prompt"));
        field->setText(QString::fromLatin1(words));
        return field;
    };
    grid->addWidget(
        new FormField(
            theme, QStringLiteral("AE Title"), text("QUORIN"), QStringLiteral("At most 16 characters.")),
        0,
        0,
        Qt::AlignTop);
    auto *wrong = new FormField(theme, QStringLiteral("Port"), text("70000"));
    wrong->setError(QStringLiteral("Port must be a number between 1 and 65535."));
    grid->addWidget(wrong, 0, 1, Qt::AlignTop);
    TextField *focused = text("focus");
    force(*focused, Forced::focus);
    grid->addWidget(new FormField(theme, QStringLiteral("With focus"), focused), 0, 2, Qt::AlignTop);
    TextField *disabled = text("disabled");
    force(*disabled, Forced::disabled);
    grid->addWidget(new FormField(theme, QStringLiteral("Disabled"), disabled), 0, 3, Qt::AlignTop);

    auto *search = new SearchField(theme, QStringLiteral("Search action, hash, correlation, error…"));
    grid->addWidget(search, 1, 0, 1, 2);
    auto *filled = new SearchField(theme, QStringLiteral("Search"));
    filled->setText(QStringLiteral("upload_attempt"));
    grid->addWidget(filled, 1, 2);
    auto *password = new PasswordField(theme, QStringLiteral("Password"));
    password->setText(QStringLiteral("secret words"));
    grid->addWidget(password, 1, 3);

    int column = 0;
    for (const Forced state : {Forced::rest, Forced::hover, Forced::focus, Forced::disabled}) {
        auto *combo = new ComboBox(theme);
        combo->addItems({QStringLiteral("All Levels"), QStringLiteral("Warning"), QStringLiteral("Error")});
        force(*combo, state);
        grid->addWidget(combo, 2, column++);
    }
    auto *spin = new QSpinBox;
    spin->setRange(1, 600);
    spin->setValue(30);
    grid->addWidget(spin, 3, 0);
    auto *focusedSpin = new QSpinBox;
    force(*focusedSpin, Forced::focus);
    grid->addWidget(focusedSpin, 3, 1);
    card->body().addLayout(grid);
    return card;
}

} // namespace gateway::shell
