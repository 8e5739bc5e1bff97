#pragma once

#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class Theme;

/// One of a few, side by side. The arrow keys move within it; Tab passes it in one step.
///
/// Owner: its parent. Thread: main.
class SegmentedControl : public QWidget
{
    Q_OBJECT

public:
    explicit SegmentedControl(const Theme &theme, QWidget *parent = nullptr);

    /// Adds a segment at the end; the first one is the current one until another is chosen.
    void addSegment(const QString &title, const QString &symbol = {});

    int currentIndex() const { return m_group.checkedId(); }
    void setCurrentIndex(int index);

Q_SIGNALS:
    void currentChanged(int index);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    QButtonGroup m_group;
};

} // namespace gateway::shell
