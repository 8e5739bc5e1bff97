#include "wizard/listener_settings_view_model.h"

#include "core/ae_title_formatter.h"
#include "core/notification_names.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"
#include "wizard/setup_apply.h"
#include "wizard/setup_checks.h"

#include <utility>

namespace gateway::wizard {

namespace {

/// The value for a field that was edited from `stored` to `form`; what stands by now for any other.
template <typename T>
T edited(const T &form, const T &stored, const T &now)
{
    return form == stored ? now : form;
}

ListenerSettingsForm
merged(const ListenerSettingsForm &form, const ListenerSettingsForm &stored, const ListenerSettingsForm &now)
{
    return {edited(form.isEnabled, stored.isEnabled, now.isEnabled),
            edited(form.aeTitle, stored.aeTitle, now.aeTitle),
            edited(form.portText, stored.portText, now.portText),
            edited(form.timeoutText, stored.timeoutText, now.timeoutText),
            edited(form.advertiseWithBonjour, stored.advertiseWithBonjour, now.advertiseWithBonjour),
            edited(form.destinationFolder, stored.destinationFolder, now.destinationFolder)};
}

} // namespace

ListenerSettingsViewModel::ListenerSettingsViewModel(const SetupWizardParts &parts,
                                                     platform::NotificationCenter &notifications)
    : m_parts(parts), m_stored(storedForm()), m_form(m_stored),
      m_listenerObserver(
          notifications.observe(core::kStoreListenerStateChanged, [this](const QVariantMap &) { follow(); })),
      m_folderObserver(parts.settings.listenerDestinationFolder.onChange(
          [this, &main = parts.main, life = std::weak_ptr<const void>(m_life)] {
              main.post(life, [this] { follow(); });
          })),
      m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("ListenerSettingsViewModel");
}

ListenerSettingsViewModel::~ListenerSettingsViewModel()
{
    close();
}

void ListenerSettingsViewModel::close()
{
    m_scope.close();
}

ListenerSettingsForm ListenerSettingsViewModel::storedForm() const
{
    const core::DCMListenerSettings record = core::DCMListenerSettings::load(m_parts.defaults);
    const QString folder = m_parts.settings.listenerDestinationFolder.get().value_or(QString());
    return {record.isEnabled.value_or(true),
            record.aeTitle,
            QString::number(record.port),
            QString::number(record.timeout.count()),
            record.advertiseWithBonjour.value_or(true),
            folder.trimmed().isEmpty() ? std::nullopt : std::optional(folder)};
}

QString ListenerSettingsViewModel::folder() const
{
    return m_form.destinationFolder.value_or(m_parts.machine.defaultIncomingFolder);
}

void ListenerSettingsViewModel::edit(const ListenerSettingsForm &form)
{
    if (!m_isSaving && m_form != form) {
        m_form = form;
        Q_EMIT changed();
    }
}

void ListenerSettingsViewModel::reload()
{
    if (m_isSaving) {
        return;
    }
    m_stored = storedForm();
    m_form = m_stored;
    m_errorMessage.reset();
    Q_EMIT changed();
}

void ListenerSettingsViewModel::follow()
{
    if (m_isSaving) {
        return; // it reads them itself
    }
    const ListenerSettingsForm now = storedForm();
    m_form = merged(m_form, std::exchange(m_stored, now), now);
    Q_EMIT changed();
}

std::optional<QString> ListenerSettingsViewModel::formIssue() const
{
    if (std::optional<QString> issue = portFormatIssue(m_form.portText)) {
        return issue;
    }
    if (std::optional<QString> issue = timeoutIssue(m_form.timeoutText)) {
        return issue;
    }
    return aeTitleIssue(m_form.aeTitle);
}

/// Whether a port that this gateway doesn't hold yet will be listened on.
bool ListenerSettingsViewModel::willListenElsewhere() const
{
    const bool holdsIt =
        m_parts.listener.isListenerRunning() && parsedPort(m_form.portText) == parsedPort(m_stored.portText);
    return m_form.isEnabled && !core::isSetupRequired(m_parts.settings) && !holdsIt;
}

QCoro::Task<std::optional<QString>> ListenerSettingsViewModel::portIssue()
{
    const std::optional<int> port = willListenElsewhere() ? parsedPort(m_form.portText) : std::nullopt;
    if (!port) {
        co_return std::nullopt;
    }
    const PortState state = co_await platform::onPool(
        m_parts.main, m_parts.pool, [probe = m_parts.machine.probe, port] { return probe(*port); });
    co_return portStateIssue(*port, state);
}

/// Asks the machine without keeping the main thread, not even where a disk never answers.
QCoro::Task<ListenerSettingsViewModel::MachineAnswer> ListenerSettingsViewModel::askMachine()
{
    const std::optional<QString> ofPort = co_await portIssue();
    const bool isFolderNew = m_form.destinationFolder != m_stored.destinationFolder;
    if (ofPort || !isFolderNew || !m_form.destinationFolder) {
        const MachineAnswer answer{ofPort, std::nullopt};
        co_return answer;
    }
    const FolderAsking asking{m_parts.main, m_parts.clock, m_parts.machine.validateFolder};
    const FolderValidationResult found =
        co_await askFolder(asking, *m_form.destinationFolder, m_scope.stopToken());
    const MachineAnswer answer{found.issue(), found.bookmark};
    co_return answer;
}

QCoro::Task<> ListenerSettingsViewModel::save()
{
    if (m_isSaving || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    follow();
    m_errorMessage = formIssue();
    if (m_errorMessage) {
        Q_EMIT changed();
        co_return;
    }
    m_isSaving = true;
    Q_EMIT changed();
    const MachineAnswer machine = co_await askMachine();
    if (m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const std::optional<QString> problem = machine.issue ? machine.issue : write(machine.bookmark);
    if (!problem) {
        applyToListener();
    }
    endSaving(problem);
}

std::optional<QString> ListenerSettingsViewModel::write(const std::optional<QByteArray> &bookmark)
{
    const ListenerSettingsForm now = storedForm();
    m_form = merged(m_form, std::exchange(m_stored, now), now);
    return writeRecord() && writeFolder(bookmark) ? std::nullopt : std::optional(settingsNotWrittenMessage());
}

bool ListenerSettingsViewModel::writeRecord()
{
    const core::DCMListenerSettings before = core::DCMListenerSettings::load(m_parts.defaults);
    core::DCMListenerSettings record = before;
    if (m_form.aeTitle != m_stored.aeTitle) {
        record.aeTitle = core::AETitleFormatter::format(m_form.aeTitle.trimmed());
    }
    record.port = parsedPort(m_form.portText).value_or(record.port);
    record.timeout = std::chrono::seconds(m_form.timeoutText.trimmed().toInt());
    if (m_form.isEnabled != m_stored.isEnabled) {
        record.isEnabled = m_form.isEnabled;
    }
    if (m_form.advertiseWithBonjour != m_stored.advertiseWithBonjour) {
        record.advertiseWithBonjour = m_form.advertiseWithBonjour;
    }
    return record == before || record.save(m_parts.defaults);
}

bool ListenerSettingsViewModel::writeFolder(const std::optional<QByteArray> &bookmark)
{
    if (m_form.destinationFolder == m_stored.destinationFolder) {
        return true;
    }
    const auto kept =
        m_form.destinationFolder ? std::optional(bookmark.value_or(QByteArray())) : std::nullopt;
    return m_parts.settings.listenerDestinationFolder.set(m_form.destinationFolder) &&
           m_parts.settings.listenerDestinationFolderBookmark.set(kept);
}

void ListenerSettingsViewModel::applyToListener()
{
    SetupListener &listener = m_parts.listener;
    if (!m_form.isEnabled || listener.isListenerRunning()) {
        listener.stopListener();
    }
    if (m_form.isEnabled && !core::isSetupRequired(m_parts.settings)) {
        listener.startListener();
    }
}

void ListenerSettingsViewModel::endSaving(const std::optional<QString> &problem)
{
    m_isSaving = false;
    if (!problem) {
        reload();
        return;
    }
    m_errorMessage = problem;
    Q_EMIT changed();
}

} // namespace gateway::wizard
