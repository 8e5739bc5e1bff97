#pragma once

#include "updates/appcast_updater.h"

#include <QtWidgets/QWidget>

class QPlainTextEdit;
class QProgressBar;

namespace gateway::shell {

class Button;
class FixedDigitLabel;
class InlineError;
class Switch;
class TextLabel;
class Theme;

/// Shows how a check for updates goes and what it finds, and takes the word to install it or to leave it.
///
/// Owner: app. Thread: main.
class UpdateWindow : public QWidget
{
    Q_OBJECT

public:
    /// \param theme, updater  outlive this.
    UpdateWindow(const Theme &theme, updates::AppcastUpdater &updater);

    /// Shows the window, or raises it.
    void present();

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    using Standing = updates::AppcastUpdater::Standing;

    void addContent();
    QWidget *makeHead();
    QWidget *makeButtons();
    void go();
    void showStanding();
    void showWords(const Standing &now);
    void showProgress(const Standing &now);
    void showError(const Standing &now);
    void showButtons(const Standing &now);

    const Theme &m_theme;
    updates::AppcastUpdater &m_updater;
    TextLabel *m_title;
    TextLabel *m_sentence;
    QPlainTextEdit *m_notes;
    QProgressBar *m_bar;
    FixedDigitLabel *m_numbers;
    InlineError *m_error;
    Switch *m_automatic;
    Button *m_later;
    Button *m_go;
};

} // namespace gateway::shell
