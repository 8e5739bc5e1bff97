#pragma once

#include <QtWidgets/QWidget>

namespace gateway::shell {

class Theme;

/// The ground of a page; it paints the shadows of the cards that lie on it, at any depth of its children.
///
/// Owner: its parent. Thread: main.
class Canvas : public QWidget
{
    Q_OBJECT

public:
    explicit Canvas(const Theme &theme, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
};

} // namespace gateway::shell
