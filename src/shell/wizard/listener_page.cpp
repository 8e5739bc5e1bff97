#include "shell/wizard/listener_page.h"

#include "shell/controls/button.h"
#include "shell/controls/card.h"
#include "shell/controls/chip.h"
#include "shell/controls/form_field.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"
#include "shell/wizard/check_list.h"

#include <QtGui/QClipboard>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QHBoxLayout>

#include <algorithm>

namespace gateway::shell {

using wizard::GatewaySetupIssue;
using wizard::GatewaySetupStep;
using wizard::GatewaySetupWizardViewModel;
using Fix = wizard::GatewaySetupIssueFixAction;

namespace {

/// Shows what the model made of a text, and leaves the cursor where it was.
void showText(QLineEdit &field, const QString &text)
{
    if (field.text() != text) {
        const int at = field.cursorPosition();
        field.setText(text);
        field.setCursorPosition(std::min<int>(at, int(text.size())));
    }
}

} // namespace

ListenerPage::ListenerPage(const Theme &theme, GatewaySetupWizardViewModel &setup)
    : WizardPage(theme, setup), m_aeTitle(new TextField(theme)),
      m_aeTitleField(new FormField(theme, tr("AE Title"), m_aeTitle)), m_port(new TextField(theme)),
      m_portField(new FormField(theme, tr("Port"), m_port)),
      m_bonjour(new Switch(theme, tr("Publish listener with Bonjour"))),
      m_restore(new Button(theme, ButtonKind::secondary, tr("Restore Recommended Defaults"))),
      m_address(new TextLabel(theme, {}, TypeStyle::h2)),
      m_copy(new Button(theme, ButtonKind::secondary, tr("Copy"), QStringLiteral("doc.on.doc"))),
      m_checks(new CheckList(theme))
{
    addConnectionSettings();
    addCard(tr("Checks")).body().addWidget(m_checks);
    addEndpoint();
    endCards();
    listen();
    refresh();
}

ListenerPage::~ListenerPage()
{
    // The fields lose the focus while they die, and this is no page any more by then.
    m_aeTitle->disconnect(this);
    m_port->disconnect(this);
}

void ListenerPage::addConnectionSettings()
{
    Card &card = addCard(tr("Connection Settings"));
    auto *fields = new QHBoxLayout;
    fields->setSpacing(theme().space(Space::wide));
    fields->addWidget(m_aeTitleField, 2, Qt::AlignTop);
    fields->addWidget(m_portField, 1, Qt::AlignTop);
    card.body().addLayout(fields);
    card.body().addWidget(m_bonjour);
    card.body().addWidget(m_restore, 0, Qt::AlignLeft);
}

void ListenerPage::addEndpoint()
{
    Card &card = addCard(tr("Listener Endpoint"));
    card.body().addWidget(new TextLabel(theme(), tr("Listener Address"), TypeStyle::small, Color::text2));
    auto *row = new QHBoxLayout;
    row->setSpacing(theme().space(Space::gap));
    m_address->setMono();
    m_address->setAccessibleDescription(tr("Listener Address"));
    row->addWidget(m_address, 1);
    row->addWidget(m_copy);
    card.body().addLayout(row);
    card.body().addWidget(paragraph(
        tr("Use this address when registering Quorin Gateway in your modality or PACS configuration.")));
    card.body().addWidget(makeStaticAddressNote());
}

QWidget *ListenerPage::makeStaticAddressNote()
{
    auto *note = new QWidget;
    auto *column = new QVBoxLayout(note);
    column->setContentsMargins(0, theme().space(Space::tight), 0, 0);
    column->setSpacing(theme().space(Space::tight));
    auto *head = new QHBoxLayout;
    head->setSpacing(theme().space(Space::tight));
    head->addWidget(new TextLabel(theme(), tr("Static IP Recommendation"), TypeStyle::bodyStrong));
    head->addWidget(new Chip(theme(), tr("Recommended"), Color::blue));
    head->addStretch(1);
    column->addLayout(head);
    column->addWidget(paragraph(tr("To keep this listener address stable, reserve a static DHCP lease for "
                                   "this Mac in your router.")));
    column->addWidget(paragraph(tr("In router settings, open DHCP reservation and bind this computer's MAC "
                                   "address to one fixed IP.")));
    column->addWidget(paragraph(
        tr("After reservation, reconnect this device and verify the listener address stays unchanged.")));
    return note;
}

void ListenerPage::listen()
{
    connect(m_aeTitle, &QLineEdit::textEdited, &setup(), &GatewaySetupWizardViewModel::updateAETitle);
    connect(m_aeTitle, &QLineEdit::editingFinished, &setup(), &GatewaySetupWizardViewModel::normalizeAETitle);
    connect(m_port, &QLineEdit::textEdited, &setup(), &GatewaySetupWizardViewModel::updatePortText);
    for (const TextField *field : {m_aeTitle, m_port}) {
        connect(field, &QLineEdit::returnPressed, this, &WizardPage::goOnRequested);
    }
    connect(m_bonjour,
            &QAbstractButton::clicked,
            &setup(),
            &GatewaySetupWizardViewModel::updateAdvertiseWithBonjour);
    connect(m_restore, &QPushButton::clicked, this, [this] {
        setup().applyFixAction(Fix::restoreRecommendedListenerDefaults);
    });
    connect(m_copy, &QPushButton::clicked, this, &ListenerPage::copyAddress);
    connect(m_checks, &CheckList::focusGone, this, &WizardPage::focusGone);
    connect(m_checks, &CheckList::fixRequested, &setup(), &GatewaySetupWizardViewModel::applyFixAction);
}

void ListenerPage::copyAddress()
{
    QGuiApplication::clipboard()->setText(setup().draft().listenerAddress);
}

QWidget *ListenerPage::firstField()
{
    return m_aeTitle;
}

void ListenerPage::refresh()
{
    const wizard::GatewaySetupDraft &draft = setup().draft();
    showText(*m_aeTitle, draft.aeTitle);
    showText(*m_port, draft.portText);
    m_bonjour->setChecked(draft.advertiseWithBonjour);
    m_address->setText(draft.listenerAddress);
    const QString hint = setup().aeTitleHint().value_or(QString());
    m_aeTitleField->setHint(setup().hasAETitleProblem() ? QString() : hint);
    m_aeTitleField->setError(setup().hasAETitleProblem() ? hint : QString());
    const QList<GatewaySetupIssue> issues = setup().issuesForStep(GatewaySetupStep::listener);
    m_port->setInvalid(std::any_of(issues.begin(), issues.end(), [](const GatewaySetupIssue &issue) {
        return issue.field == wizard::GatewaySetupIssueField::port && issue.isBlocking();
    }));
    m_checks->setStep(issues,
                      setup().summaryPreflightChecks(),
                      {QStringLiteral("ae_title"), QStringLiteral("port_available")});
}

} // namespace gateway::shell
