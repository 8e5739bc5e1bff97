#pragma once

#include "wizard/setup_trial.h"

#include <QtCore/QList>
#include <QtWidgets/QWidget>

#include <stop_token>

namespace gateway::account {
class ArchiveSignInViewModel;
}

namespace gateway::shell {

class Button;
class Canvas;
class Card;
class SymbolTile;
class TextLabel;
class Theme;

/// Offers to try the gateway that was set up, and shows how a trial goes: a line a step, each of which turns
/// to a check mark or says what is wrong. At an archive that took the sample, what else it has to do is tried
/// behind. Whoever leaves it stops a trial that runs; the sample goes all the same.
///
/// Owner: DesktopScreens. Thread: main.
class TrialWindow : public QWidget
{
    Q_OBJECT

public:
    /// \param theme, trial  outlive this.
    /// \param archive       does, too; null where an account signs in.
    TrialWindow(const Theme &theme,
                wizard::SetupTrial &trial,
                account::ArchiveSignInViewModel *archive = nullptr);

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
    bool isRunning() const;
    bool isOver() const;
    bool hasFailed() const;
    void start();
    void tryArchive();
    void showArchive();

    const Theme &m_theme;
    wizard::SetupTrial &m_trial;
    account::ArchiveSignInViewModel *const m_archive;
    Canvas *m_ground;
    TextLabel *m_title;
    TextLabel *m_sentence;
    QList<Line> m_lines;
    Button *m_leave;
    Button *m_go;
    bool m_wasRunning = false;
    Card *m_archiveCard = nullptr;    // at an archive
    bool m_hasTriedArchive = false;   // behind the trial that is shown
    std::stop_source m_stopOfArchive; // of the try that is shown
};

} // namespace gateway::shell
