#pragma once

#include <QtGui/QImage>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class Canvas;
class ConfirmDialog;
class Theme;
class Toast;

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

    /// Shows what lies over a window: a question, a toast, and the figures of a ring.
    void showOverlays();
    void hideOverlays();

private:
    QWidget *head(Theme &theme);
    void tellOfDeletion();

    Canvas *m_page;
    Toast *m_toast;
    ConfirmDialog *m_question;
};

/// The widget as it looks at `ratio` device pixels a pixel.
QImage pictureOf(QWidget &widget, qreal ratio);

} // namespace gateway::shell
