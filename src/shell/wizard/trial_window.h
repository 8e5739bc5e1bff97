#pragma once

#include "wizard/setup_trial.h"

#include <QtCore/QList>
#include <QtWidgets/QWidget>

namespace gateway::shell {

class Button;
class Canvas;
class SymbolTile;
class TextLabel;
class Theme;

/// Offers to try the gateway that was set up, and shows how a trial goes: a line a step, each of which turns
/// to a check mark or says what is wrong. Whoever leaves it stops a trial that runs; the sample goes all the
/// same.
///
/// Owner: DesktopScreens. Thread: main.
class TrialWindow : public QWidget
{
    Q_OBJECT

public:
    /// \param theme, trial  outlive this.
    TrialWindow(const Theme &theme, wizard::SetupTrial &trial);

    /// Shows the offer, or raises the window that is there.
    void present();

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    /// The parts of a line that change.
    struct Line
    {
        SymbolTile *mark;
        TextLabel *title;
        TextLabel *word;
        TextLabel *detail;
    };

    void addContent();
    QWidget *makeLines();
    QWidget *makeLine(wizard::TrialStep step);
    QWidget *makeButtons();
    void showTrial();
    void showLine(const wizard::TrialLine &shown, const Line &line) const;
    void showHead();
    void showButtons();
    void fit();
    void tellEnd();
    bool isOver() const;

    const Theme &m_theme;
    wizard::SetupTrial &m_trial;
    Canvas *m_ground;
    TextLabel *m_title;
    TextLabel *m_sentence;
    QList<Line> m_lines;
    Button *m_leave;
    Button *m_go;
    bool m_wasRunning = false;
};

} // namespace gateway::shell
