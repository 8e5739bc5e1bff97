#include "shell/preferences/quorin_cloud_settings_pane.h"

#include "core/device_id.h"
#include "core/settings.h"
#include "platform/concurrency/main_executor.h"
#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/card_page.h"
#include "shell/controls/chip.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

namespace {

constexpr int kChoiceWidth = 96;
constexpr int kLimits[] = {2, 4, 6, 8, 10};
constexpr int kFilesPerRequest[] = {2, 4, 8, 16, 24, 32};

/// Shows the number; one that isn't offered is added for as long as it stands.
void showNumber(ComboBox &choice, int number)
{
    if (choice.findData(number) < 0) {
        choice.addItem(QString::number(number), number);
    }
    choice.setCurrentIndex(choice.findData(number));
}

} // namespace

QuorinCloudSettingsPane::QuorinCloudSettingsPane(const PreferencesParts &parts)
    : SettingsPaneContainer(parts.theme, tr("Quorin Cloud Settings"), parts.actions.openSetupWizard),
      m_parts(parts), m_error(new InlineError(parts.theme)),
      m_parallelRetrieve(new Switch(parts.theme, tr("Parallel Transfers"))),
      m_limit(new ComboBox(parts.theme)), m_batch(new Switch(parts.theme, tr("Batch Uploads"))),
      m_filesPerRequest(new ComboBox(parts.theme)),
      m_compress(new Switch(parts.theme, tr("Compress to JPEG-LS")))
{
    setSubtitle(tr("Tune Quorin Cloud transfer behavior for your network and workload."));
    addRetrieval();
    addUploads();
    addCompression();
    addSubscription();
    page().endCards();
    listen();
    observe();
    showSettings();
}

void QuorinCloudSettingsPane::addChoice(QVBoxLayout &body, const QString &name, ComboBox *choice)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 0, theme().space(Space::hair), 0); // ends where the switches do
    row->setSpacing(theme().space(Space::gap));
    auto *words = new TextLabel(theme(), name, TypeStyle::body);
    words->setBuddy(choice);
    words->setWordWrap(true);
    choice->setAccessibleName(name);
    choice->setFixedWidth(kChoiceWidth);
    row->addWidget(words, 1);
    row->addWidget(choice);
    body.addLayout(row);
}

void QuorinCloudSettingsPane::addRetrieval()
{
    Card &card = page().addCard(tr("Retrieval"));
    card.body().addWidget(m_parallelRetrieve);
    card.body().addWidget(page().paragraph(tr("Applies to Quorin Cloud upload and retrieval.")));
    for (const int limit : kLimits) {
        m_limit->addItem(QString::number(limit), limit);
    }
    addChoice(card.body(), tr("Parallel Connection Limit"), m_limit);
}

void QuorinCloudSettingsPane::addUploads()
{
    Card &card = page().addCard(tr("Uploads"));
    card.body().addWidget(m_batch);
    for (const int files : kFilesPerRequest) {
        m_filesPerRequest->addItem(QString::number(files), files);
    }
    addChoice(card.body(), tr("Files Per Request"), m_filesPerRequest);
}

void QuorinCloudSettingsPane::addCompression()
{
    page().addCard(tr("Compression")).body().addWidget(m_compress);
}

void QuorinCloudSettingsPane::addSubscription()
{
    Card &card = page().addCard({});
    auto *head = new QHBoxLayout;
    head->setSpacing(theme().space(Space::tight));
    auto *heading = new TextLabel(theme(), tr("Subscription Management"), TypeStyle::h3);
    heading->setWordWrap(true);
    head->addWidget(heading, 1);
    head->addWidget(new Chip(theme(), QStringLiteral("Quorin Lens"), Color::blue));
    card.body().addLayout(head);
    card.body().addWidget(page().paragraph(tr("You can manage Quorin Cloud subscriptions in Quorin Lens.")));
    if (!m_parts.account.storePage.isEmpty()) {
        auto *link = new Button(theme(),
                                ButtonKind::secondary,
                                tr("Open Quorin Lens on the Mac App Store"),
                                QStringLiteral("arrow.up.right.square"));
        connect(link, &QPushButton::clicked, this, [this] {
            m_parts.actions.openLink(m_parts.account.storePage);
        });
        card.body().addWidget(link, 0, Qt::AlignLeft);
    }
    foot().addWidget(m_error);
    setFootVisible(false);
}

void QuorinCloudSettingsPane::listen()
{
    core::Settings &settings = m_parts.kept.settings;
    connect(m_parallelRetrieve, &QAbstractButton::clicked, this, [this](bool on) {
        written(core::setRetrieveMode(m_parts.kept.defaults, on));
    });
    connect(m_batch, &QAbstractButton::clicked, this, [this, &settings](bool on) {
        written(settings.quorinCloudBatchEnabled.set(on));
    });
    connect(m_compress, &QAbstractButton::clicked, this, [this, &settings](bool on) {
        written(settings.quorinCloudCompressToLS.set(on));
    });
    connect(m_limit, &QComboBox::activated, this, [this, &settings] {
        written(settings.wadoLimit.set(m_limit->currentData().toInt()));
    });
    connect(m_filesPerRequest, &QComboBox::activated, this, [this, &settings] {
        written(settings.quorinCloudBatchUploadCount.set(m_filesPerRequest->currentData().toInt()));
    });
}

void QuorinCloudSettingsPane::observe()
{
    core::Settings &settings = m_parts.kept.settings;
    const auto soon = [this, &main = m_parts.kept.main, life = std::weak_ptr<const void>(m_life)] {
        main.post(life, [this] { showSettings(); });
    };
    m_observers.push_back(settings.wadoLimit.onChange(soon));
    m_observers.push_back(settings.quorinCloudBatchEnabled.onChange(soon));
    m_observers.push_back(settings.quorinCloudBatchUploadCount.onChange(soon));
    m_observers.push_back(settings.quorinCloudCompressToLS.onChange(soon));
}

void QuorinCloudSettingsPane::written(bool isKept)
{
    setFootVisible(!isKept);
    if (!isKept) {
        m_error->showMessage(tr("The settings could not be written."),
                             tr("What is shown is what still counts."));
    }
    showSettings();
}

void QuorinCloudSettingsPane::showSettings()
{
    const core::Settings &settings = m_parts.kept.settings;
    m_parallelRetrieve->setChecked(core::retrieveMode(m_parts.kept.defaults));
    showNumber(*m_limit, settings.wadoLimit.get());
    m_batch->setChecked(settings.quorinCloudBatchEnabled.get());
    showNumber(*m_filesPerRequest, settings.quorinCloudBatchUploadCount.get());
    m_filesPerRequest->setEnabled(m_batch->isChecked());
    m_compress->setChecked(settings.quorinCloudCompressToLS.get());
}

} // namespace gateway::shell
