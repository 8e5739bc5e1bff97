#pragma once

#include <QtCore/QUrl>
#include <QtWidgets/QWidget>

#include <functional>

namespace gateway::account {
class ArchiveSignInViewModel;
}

namespace gateway::shell {

class TextLabel;
class Theme;

/// The code that a person enters elsewhere to let this gateway in: where, and for how long yet. It is shown
/// while there is one.
///
/// Owner: its parent. Thread: main.
class DeviceCodePanel : public QWidget
{
    Q_OBJECT

public:
    /// \param theme, model  outlive this.
    DeviceCodePanel(const Theme &theme,
                    account::ArchiveSignInViewModel &model,
                    std::function<void(const QUrl &)> openLink);

Q_SIGNALS:
    void cancelled();

private:
    void showCode();
    void openPage();

    account::ArchiveSignInViewModel &m_model;
    const std::function<void(const QUrl &)> m_openLink;
    TextLabel *m_code;
    TextLabel *m_address;
    TextLabel *m_left;
};

} // namespace gateway::shell
