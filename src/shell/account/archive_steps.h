#pragma once

#include "cloud_client/archive_trial.h"

#include <QtWidgets/QWidget>

class QVBoxLayout;

namespace gateway::account {
class ArchiveSignInViewModel;
}

namespace gateway::shell {

class Theme;

/// What each step of the last trial of an archive has found, a line and its words a step.
///
/// Owner: its parent. Thread: main.
class ArchiveSteps : public QWidget
{
    Q_OBJECT

public:
    enum class Shown
    {
        all,
        besidesSample ///< who answers, what comes back, and what isn't good: the rest is told by the sample's
                      ///< way
    };

    /// \param theme, model  outlive this.
    ArchiveSteps(const Theme &theme, account::ArchiveSignInViewModel &model, Shown shown = Shown::all);

private:
    bool isShown(const cloud_client::TrialStep &step) const;
    void showSteps();

    const Theme &m_theme;
    account::ArchiveSignInViewModel &m_model;
    const Shown m_shown;
    QVBoxLayout *m_lines;
    qsizetype m_count = 0; // of the model's steps that were looked at
    bool m_wasTesting = false;
};

} // namespace gateway::shell
