#include "shell/testing/screen_checks.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QLabel>
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
    const QList<QLabel *> labels = root.findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (label->isVisible() && ((!label->wordWrap() && isNarrow(*label)) || isLow(*label))) {
            clipped.append(label->text());
        }
    }
    const QList<QAbstractButton *> buttons = root.findChildren<QAbstractButton *>();
    for (const QAbstractButton *button : buttons) {
        if (button->isVisible() && showsWords(*button) && isNarrow(*button)) {
            clipped.append(button->text());
        }
    }
    return clipped;
}

} // namespace gateway::shell::testing
