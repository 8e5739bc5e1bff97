#pragma once

#include "platform/notifications/notification_center.h"
#include "shell/preferences/preferences_parts.h"
#include "shell/preferences/settings_pane_container.h"

#include <QtCore/QList>

#include <memory>
#include <vector>

class QVBoxLayout;

namespace gateway::shell {

class ComboBox;
class InlineError;
class Switch;

/// How images go to the cloud. All controls write through at once, and follow what is changed elsewhere.
///
/// Owner: QuorinGatewaySettingsView. Thread: main.
class QuorinCloudSettingsPane final : public SettingsPaneContainer
{
    Q_OBJECT

public:
    explicit QuorinCloudSettingsPane(const PreferencesParts &parts);

    void follow() override { showSettings(); }

private:
    void addRetrieval();
    void addUploads();
    void addCompression();
    void addSubscription();
    void addChoice(QVBoxLayout &body, const QString &name, ComboBox *choice);
    void listen();
    void observe();
    void written(bool isKept);
    void showSettings();

    const PreferencesParts m_parts;
    InlineError *m_error;
    Switch *m_parallelRetrieve;
    ComboBox *m_limit;
    Switch *m_batch;
    ComboBox *m_filesPerRequest;
    Switch *m_compress;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    std::vector<platform::NotificationCenter::Token> m_observers;
};

} // namespace gateway::shell
