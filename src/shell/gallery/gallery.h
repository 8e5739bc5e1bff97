#pragma once

#include <QtWidgets/QWidget>

namespace gateway::shell {

class Canvas;
class Theme;

/// A window with every control of the house in every state, and switches for variant and motion.
///
/// Owner: the caller. Thread: main.
class Gallery : public QWidget
{
    Q_OBJECT

public:
    explicit Gallery(Theme &theme);

    /// The page with all sections, for a picture.
    QWidget &page();

private:
    QWidget *head(Theme &theme);

    Canvas *m_page;
};

/// The widget as it looks at `ratio` device pixels a pixel.
QImage pictureOf(QWidget &widget, qreal ratio);

} // namespace gateway::shell
