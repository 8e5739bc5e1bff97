#pragma once

#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class Theme;

/// The figures behind a ring or a value, shown at once while the pointer or the keyboard is on it.
///
/// It lies inside the window, above all else, and lets the pointer through.
///
/// Owner: its parent. Thread: main.
class StorageHoverTooltip : public QWidget
{
    Q_OBJECT

public:
    explicit StorageHoverTooltip(const Theme &theme, QWidget *parent);

    /// Lines are parted by line breaks.
    void setText(const QString &text);
    const QString &text() const { return m_text; }

    /// Shows the words while the pointer is over `anchor` or the keyboard's focus is on it.
    void watch(QWidget &anchor);

    QSize sizeHint() const override;

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void showFor(QWidget &anchor);

    const Theme &m_theme;
    QString m_text;
    QPointer<QWidget> m_anchor;
};

} // namespace gateway::shell
