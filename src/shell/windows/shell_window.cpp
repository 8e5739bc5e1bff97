#include "shell/windows/shell_window.h"

#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QShortcut>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

ShellWindow::ShellWindow(const QString &title, QWidget *content)
{
    setWindowTitle(title);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addWidget(content);
    auto *close = new QShortcut(QKeySequence::Close, this);
    connect(close, &QShortcut::activated, this, &QWidget::close);
}

void ShellWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void ShellWindow::closeEvent(QCloseEvent *event)
{
    QWidget::closeEvent(event);
    if (event->isAccepted()) {
        Q_EMIT closed();
    }
}

void ShellWindow::hideEvent(QHideEvent *event)
{
    if (!event->spontaneous()) { // minimising hides too, and isn't leaving
        Q_EMIT leaving();
    }
    QWidget::hideEvent(event);
}

} // namespace gateway::shell
