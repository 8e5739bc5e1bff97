#pragma once

#include <QtWidgets/QWidget>

#include <stop_token>

namespace gateway::account {
class ArchiveSignInViewModel;
}

namespace gateway::shell {

class Button;
class Theme;

/// Tries the archive out with the session that stands, and shows what each step has found.
///
/// Owner: its parent. Thread: main.
class ArchiveTrialPanel : public QWidget
{
    Q_OBJECT

public:
    /// \param theme, model  outlive this.
    ArchiveTrialPanel(const Theme &theme, account::ArchiveSignInViewModel &model);
    ~ArchiveTrialPanel() override;

private:
    void test();
    void showState();

    account::ArchiveSignInViewModel &m_model;
    Button *m_test;
    std::stop_source m_stop;
};

} // namespace gateway::shell
