#include "shell/testing/screen_checks.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QAbstractScrollArea>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLayout>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListView>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QStyle>
#include <QtWidgets/QStyleOptionComboBox>
#include <QtWidgets/QStyleOptionFrame>
#include <QtWidgets/QStyleOptionHeader>
#include <QtWidgets/QToolButton>

namespace gateway::shell::testing {

namespace {

bool isNarrow(const QWidget &widget)
{
    return widget.width() < widget.sizeHint().width();
}

/// A tool button that shows its icon alone has words for assistive tools only.
bool showsWords(const QAbstractButton &button)
{
    const auto *tool = qobject_cast<const QToolButton *>(&button);
    const bool isIconAlone =
        tool != nullptr && tool->toolButtonStyle() == Qt::ToolButtonIconOnly && !tool->icon().isNull();
    return !button.text().isEmpty() && !isIconAlone;
}

bool isLow(const QLabel &label)
{
    return label.wordWrap() ? label.height() < label.heightForWidth(label.width())
                            : label.height() < label.sizeHint().height();
}

bool isCutLabel(const QLabel &label)
{
    return !label.text().isEmpty() && ((!label.wordWrap() && isNarrow(label)) || isLow(label));
}

bool isCutButton(const QAbstractButton &button)
{
    return showsWords(button) && (isNarrow(button) || button.height() < button.minimumSizeHint().height());
}

/// A person's own words scroll as they are typed; a prompt, and what can't be edited, must be seen whole.
QString fixedWords(const QLineEdit &field)
{
    if (field.text().isEmpty()) {
        return field.placeholderText();
    }
    return field.isReadOnly() ? field.displayText() : QString();
}

/// A prompt may have less room where a tool tip tells it in whole.
bool isCutField(const QLineEdit &field)
{
    QStyleOptionFrame option;
    option.initFrom(&field);
    const QRect room =
        field.style()->subElementRect(QStyle::SE_LineEditContents, &option, &field) - field.textMargins();
    const QString words = fixedWords(field);
    return field.toolTip() != words && field.fontMetrics().horizontalAdvance(words) > room.width();
}

/// A choice, too, may have less room where a tool tip tells it in whole.
bool isCutChoice(const QComboBox &box)
{
    if (box.toolTip() == box.currentText()) {
        return false;
    }
    QStyleOptionComboBox option;
    option.initFrom(&box);
    option.frame = true;
    const QRect room =
        box.style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &box);
    return box.fontMetrics().horizontalAdvance(box.currentText()) > room.width() ||
           box.fontMetrics().height() > box.height();
}

QStringList cutTitles(const QHeaderView &header)
{
    QStringList cut;
    for (int column = 0; column < header.count(); ++column) {
        const QString title = header.model()->headerData(column, header.orientation()).toString();
        QStyleOptionHeader option;
        option.initFrom(&header);
        option.rect = QRect(0, 0, header.sectionSize(column), header.height());
        option.text = title;
        const QRect room = header.style()->subElementRect(QStyle::SE_HeaderLabel, &option, &header);
        if (!header.isSectionHidden(column) && header.fontMetrics().horizontalAdvance(title) > room.width()) {
            cut.append(title);
        }
    }
    return cut;
}

QStringList cutItems(const QListView &list)
{
    QStringList cut;
    for (int row = 0; list.model() != nullptr && row < list.model()->rowCount(); ++row) {
        const QModelIndex item = list.model()->index(row, 0);
        const int words = list.fontMetrics().horizontalAdvance(item.data().toString());
        if (words + list.iconSize().width() * !item.data(Qt::DecorationRole).isNull() >
            list.viewport()->width()) {
            cut.append(item.data().toString());
        }
    }
    return cut;
}

/// What paints its words itself says how little room it can do with.
bool isCutPainted(const QWidget &widget)
{
    const bool isWordless = qobject_cast<const QAbstractScrollArea *>(&widget) != nullptr ||
                            qobject_cast<const QProgressBar *>(&widget) != nullptr;
    const QSize least = widget.minimumSizeHint();
    return !isWordless && widget.layout() == nullptr && !widget.accessibleName().isEmpty() &&
           least.isValid() && (widget.width() < least.width() || widget.height() < least.height());
}

QStringList cutWords(const QWidget &widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(&widget)) {
        return isCutLabel(*label) ? QStringList(label->text()) : QStringList();
    }
    if (const auto *button = qobject_cast<const QAbstractButton *>(&widget)) {
        return isCutButton(*button) ? QStringList(button->text()) : QStringList();
    }
    if (const auto *field = qobject_cast<const QLineEdit *>(&widget)) {
        return isCutField(*field) ? QStringList(fixedWords(*field)) : QStringList();
    }
    if (const auto *box = qobject_cast<const QComboBox *>(&widget)) {
        return isCutChoice(*box) ? QStringList(box->currentText()) : QStringList();
    }
    if (const auto *header = qobject_cast<const QHeaderView *>(&widget)) {
        return cutTitles(*header);
    }
    if (const auto *list = qobject_cast<const QListView *>(&widget)) {
        return cutItems(*list);
    }
    return isCutPainted(widget) ? QStringList(widget.accessibleName()) : QStringList();
}

/// What a widget says on the screen; empty for one that says nothing by words.
QString saidBy(const QWidget &widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(&widget)) {
        return label->text();
    }
    if (const auto *button = qobject_cast<const QAbstractButton *>(&widget)) {
        return showsWords(*button) ? button->text() : QString();
    }
    if (const auto *box = qobject_cast<const QComboBox *>(&widget)) {
        return box->currentText();
    }
    return {};
}

bool scrolls(const QWidget &widget)
{
    const auto *area = qobject_cast<const QAbstractScrollArea *>(widget.parentWidget());
    return area != nullptr && area->viewport() == &widget;
}

/// Whether some of it lies beyond a widget that it is in, where no scrolling leads to it.
bool isBeyondItsRoom(const QWidget &widget, const QWidget &root)
{
    for (const QWidget *room = widget.parentWidget(); room != nullptr && !scrolls(*room);
         room = room->parentWidget()) {
        const QRect own(widget.mapTo(room, QPoint()), widget.size());
        if (!room->rect().contains(own)) {
            return true;
        }
        if (room == &root || room->isWindow()) {
            break;
        }
    }
    return false;
}

/// The texts of one room that lie upon each other.
QStringList overlapping(const QList<const QWidget *> &texts)
{
    QStringList found;
    for (qsizetype one = 0; one < texts.size(); ++one) {
        for (qsizetype other = one + 1; other < texts.size(); ++other) {
            if (texts[one]->parentWidget() == texts[other]->parentWidget() &&
                texts[one]->geometry().intersects(texts[other]->geometry())) {
                found.append(QStringLiteral("%1 upon %2").arg(saidBy(*texts[one]), saidBy(*texts[other])));
            }
        }
    }
    return found;
}

} // namespace

QString lengthened(const QString &text)
{
    const qsizetype more = (text.size() * 2 + 4) / 5;
    return text + QStringLiteral("åßéñ").repeated(more / 4 + 1).left(more);
}

QString PseudoLocale::translate(const char * /*context*/,
                                const char *sourceText,
                                const char * /*disambiguation*/,
                                int /*number*/) const
{
    return lengthened(QString::fromUtf8(sourceText));
}

void keepPicture(QWidget &widget, const QString &name)
{
    const QString folder = qEnvironmentVariable("QUORIN_PICTURES");
    if (!folder.isEmpty() && !widget.grab().save(QStringLiteral("%1/%2.png").arg(folder, name))) {
        qFatal("a picture can't be kept in %s", qUtf8Printable(folder));
    }
}

QStringList clippedIn(const QWidget &root)
{
    QStringList clipped;
    QList<const QWidget *> texts;
    const QList<QWidget *> all = root.findChildren<QWidget *>();
    for (const QWidget *widget : all) {
        if (!widget->isVisibleTo(&root) || !widget->isVisible()) {
            continue;
        }
        clipped.append(cutWords(*widget));
        if (!saidBy(*widget).isEmpty()) {
            texts.append(widget);
            if (isBeyondItsRoom(*widget, root)) {
                clipped.append(QStringLiteral("%1, beyond its room").arg(saidBy(*widget)));
            }
        }
    }
    return clipped + overlapping(texts);
}

} // namespace gateway::shell::testing
