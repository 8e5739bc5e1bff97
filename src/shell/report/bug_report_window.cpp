#include "shell/report/bug_report_window.h"

#include "shell/controls/button.h"
#include "shell/controls/canvas.h"
#include "shell/controls/card.h"
#include "shell/controls/text_label.h"
#include "shell/report/attachment_list.h"
#include "shell/report/bundle_sheet.h"
#include "shell/report/report_alert.h"
#include "shell/theme/theme.h"
#include "shell/windows/screen_room.h"

#include <QtCore/QSignalBlocker>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QVBoxLayout>

namespace gateway::shell {

using account::GatewayBugReportForm;
using account::GatewayBugReportViewModel;

namespace {

constexpr QSize kWindow(660, 800);
constexpr QSize kLeastWindow(520, 480);
constexpr int kDescriptionHeight = 100;

const QString kBundleName = QStringLiteral("quorin-gateway-support.txt");

Button *submitButton(const BugReportWindowParts &parts)
{
    if (parts.ways.isServiceThere) {
        return new PrimaryButton(parts.theme, BugReportWindow::tr("Submit"));
    }
    return parts.ways.writeToSupport ? new PrimaryButton(parts.theme, BugReportWindow::tr("Email Support"))
                                     : nullptr;
}

} // namespace

BugReportWindow::BugReportWindow(const BugReportWindowParts &parts)
    : m_parts(parts), m_description(new QPlainTextEdit),
      m_isReproducible(new QCheckBox(tr("Issue is reproducible"))),
      m_duringImport(new QCheckBox(tr("Happened during import"))),
      m_duringOpening(new QCheckBox(tr("Happened during opening"))), m_files(new AttachmentList(parts.theme)),
      m_filesNeeded(paragraph(tr("Attachments are required for import/opening issues."))),
      m_choose(new Button(parts.theme, ButtonKind::secondary, tr("Choose files"))),
      m_withBundle(new QCheckBox(tr("Add a support bundle"))),
      m_bundleState(new TextLabel(parts.theme, {}, TypeStyle::small, Color::muted)),
      m_read(new Button(parts.theme, ButtonKind::secondary, tr("Read It"))),
      m_save(new Button(parts.theme, ButtonKind::secondary, tr("Save…"))),
      m_progress(new TextLabel(parts.theme, {}, TypeStyle::small, Color::muted)),
      m_submit(submitButton(parts)), m_bundleSheet(new BundleSheet(parts.theme, *this)),
      m_sentAlert(new ReportAlert(parts.theme, *this)), m_failedAlert(new ReportAlert(parts.theme, *this)),
      m_scope(parts.main, parts.pool)
{
    setWindowTitle(tr("Report a Bug"));
    setMinimumSize(kLeastWindow);
    resize(kWindow);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(makePage(), 1);
    column->addWidget(makeFooter());
    listen();
    showState();
}

BugReportWindow::~BugReportWindow() = default;

QWidget *BugReportWindow::makePage()
{
    const Theme &theme = m_parts.theme;
    auto *ground = new Canvas(theme);
    auto *column = new QVBoxLayout(ground);
    const int page = theme.space(Space::page);
    column->setContentsMargins(page, page, page, page);
    column->setSpacing(theme.space(Space::wide));
    column->addWidget(makeDetails());
    column->addWidget(makeAttachments());
    column->addWidget(makeBundle());
    column->addStretch(1);
    auto *scroll = new QScrollArea;
    scroll->setWidget(ground);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    return scroll;
}

TextLabel *BugReportWindow::paragraph(const QString &text)
{
    auto *words = new TextLabel(m_parts.theme, text, TypeStyle::body, Color::text2);
    words->setWordWrap(true);
    return words;
}

Card *BugReportWindow::makeCard(const QString &title)
{
    auto *card = new Card(m_parts.theme);
    card->body().addWidget(new TextLabel(m_parts.theme, title, TypeStyle::h3));
    return card;
}

Card *BugReportWindow::makeDetails()
{
    Card *card = makeCard(tr("Issue Details"));
    card->body().addWidget(paragraph(tr("Please include steps to reproduce and expected behavior.")));
    m_description->setAccessibleName(tr("Description"));
    m_description->setPlaceholderText(tr("Description"));
    m_description->setTabChangesFocus(true);
    m_description->setFixedHeight(kDescriptionHeight);
    card->body().addWidget(m_description);
    card->body().addWidget(paragraph(tr("Leave out what could name a patient.")));
    auto *boxes = new QVBoxLayout;
    boxes->setSpacing(0);
    for (QCheckBox *box : {m_isReproducible, m_duringImport, m_duringOpening}) {
        boxes->addWidget(box);
    }
    card->body().addLayout(boxes);
    return card;
}

Card *BugReportWindow::makeAttachments()
{
    Card *card = makeCard(tr("Attachments"));
    card->body().addWidget(m_filesNeeded);
    card->body().addWidget(m_files);
    card->body().addWidget(m_choose, 0, Qt::AlignLeft);
    return card;
}

Card *BugReportWindow::makeBundle()
{
    Card *card = makeCard(tr("Support Bundle"));
    card->body().addWidget(m_withBundle);
    card->body().addWidget(
        paragraph(tr("Versions, figures, findings, settings and the latest log, without names of patients, "
                     "people and places. Read all of it before it leaves this computer.")));
    auto *row = new QHBoxLayout;
    row->setSpacing(m_parts.theme.space(Space::tight));
    m_bundleState->setWordWrap(true);
    row->addWidget(m_read);
    row->addWidget(m_save);
    row->addWidget(m_bundleState, 1);
    card->body().addLayout(row);
    return card;
}

QWidget *BugReportWindow::makeFooter()
{
    const Theme &theme = m_parts.theme;
    auto *footer = new QWidget;
    auto *row = new QHBoxLayout(footer);
    const int page = theme.space(Space::page);
    row->setContentsMargins(page, theme.space(Space::gap), page, theme.space(Space::wide));
    row->setSpacing(theme.space(Space::tight));
    auto *close = new Button(theme, ButtonKind::secondary, tr("Close"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    m_progress->setWordWrap(true);
    row->addWidget(m_progress, 1);
    row->addWidget(close);
    if (m_submit != nullptr) {
        row->addWidget(m_submit);
    }
    return footer;
}

void BugReportWindow::listen()
{
    connect(m_description, &QPlainTextEdit::textChanged, this, &BugReportWindow::takeForm);
    for (QCheckBox *box : {m_isReproducible, m_duringImport, m_duringOpening, m_withBundle}) {
        connect(box, &QCheckBox::toggled, this, &BugReportWindow::takeForm);
    }
    connect(m_files, &AttachmentList::removeRequested, this, &BugReportWindow::leaveOut);
    connect(m_choose, &QPushButton::clicked, this, [this] {
        m_parts.dialogs.chooseFiles(this, [this](const QStringList &paths) { takeFiles(paths); });
    });
    connect(m_read, &QPushButton::clicked, this, [this] {
        m_bundleSheet->present(m_parts.model.supportBundle().value_or(QString()));
    });
    connect(m_save, &QPushButton::clicked, this, &BugReportWindow::saveBundle);
    if (m_submit != nullptr) {
        connect(m_submit, &QPushButton::clicked, this, &BugReportWindow::go);
    }
    connect(m_sentAlert, &Sheet::dismissed, this, &QWidget::close);
    connect(m_failedAlert, &Sheet::dismissed, this, [this] { m_parts.model.clearErrorMessage(); });
    connect(&m_parts.model, &GatewayBugReportViewModel::changed, this, &BugReportWindow::showState);
}

void BugReportWindow::present()
{
    if (!isVisible()) {
        const QRect room = roomForContent();
        setMinimumSize(kLeastWindow.boundedTo(room.size()));
        QRect place(QPoint(), size().boundedTo(room.size()));
        place.moveCenter(room.center());
        setGeometry(place);
    }
    show();
    raise();
    activateWindow();
    m_description->setFocus();
}

void BugReportWindow::takeForm()
{
    GatewayBugReportForm form = m_parts.model.form();
    form.descriptionText = m_description->toPlainText();
    form.isReproducible = m_isReproducible->isChecked();
    form.happenedDuringImport = m_duringImport->isChecked();
    form.happenedDuringOpening = m_duringOpening->isChecked();
    form.includesSupportBundle = m_withBundle->isChecked();
    m_parts.model.setForm(form);
}

void BugReportWindow::takeFiles(const QStringList &paths)
{
    GatewayBugReportForm form = m_parts.model.form();
    for (const QString &path : paths) {
        const QUrl file = QUrl::fromLocalFile(path);
        if (!form.attachments.contains(file)) {
            form.attachments.append(file);
        }
    }
    m_parts.model.setForm(form);
}

void BugReportWindow::leaveOut(const QUrl &file)
{
    GatewayBugReportForm form = m_parts.model.form();
    form.attachments.removeAll(file);
    m_parts.model.setForm(form);
    m_choose->setFocus(); // the button that was pressed is gone
}

void BugReportWindow::saveBundle()
{
    m_parts.dialogs.chooseBundleFile(this, kBundleName, [this](const QString &path) {
        if (path.isEmpty()) {
            return;
        }
        auto saving = m_parts.model.saveSupportBundle(path);
        QCoro::connect(std::move(saving), this, [this, path](const std::optional<QString> &problem) {
            m_bundleState->setText(problem ? tr("It can't be saved: %1").arg(*problem)
                                           : tr("Saved to %1").arg(path));
            m_bundleState->setColor(problem ? Color::red : Color::green);
        });
    });
}

void BugReportWindow::go()
{
    if (m_parts.ways.isServiceThere) {
        m_scope.start(m_parts.model.send());
    } else {
        m_parts.ways.writeToSupport(m_parts.model.form().descriptionText.trimmed());
    }
}

void BugReportWindow::showState()
{
    const GatewayBugReportViewModel &model = m_parts.model;
    const bool isSending = model.isSending();
    if (m_submit != nullptr) {
        m_submit->setBusy(isSending);
        m_submit->setEnabled(isSending || !model.isSubmitDisabled());
    }
    m_description->setReadOnly(isSending);
    for (QWidget *input : std::initializer_list<QWidget *>{
             m_isReproducible, m_duringImport, m_duringOpening, m_files, m_choose, m_withBundle}) {
        input->setEnabled(!isSending);
    }
    m_files->setFiles(model.form().attachments);
    m_filesNeeded->setVisible(model.form().wantsAttachments());
    m_filesNeeded->setColor(model.form().attachments.isEmpty() ? Color::amber : Color::muted);
    m_progress->setText(isSending ? model.progressText() : QString());
    showBundle();
    if (m_wasSending && !isSending) {
        m_wasSending = false;
        showEnd();
    }
    m_wasSending = isSending;
}

void BugReportWindow::showBundle()
{
    const bool isThere = m_parts.model.supportBundle().has_value();
    const bool wasThere = m_read->isEnabled();
    m_read->setEnabled(isThere);
    m_save->setEnabled(isThere);
    if (m_parts.model.isCollecting() || isThere != wasThere) {
        m_bundleState->setText(m_parts.model.isCollecting() ? tr("Being put together…") : QString());
        m_bundleState->setColor(Color::muted);
    }
}

/// Told over the window; where that was closed meanwhile, a success elsewhere, and a failure when it comes
/// back.
void BugReportWindow::showEnd()
{
    const GatewayBugReportViewModel &model = m_parts.model;
    if (!model.didSendSuccessfully()) {
        const QString why = model.errorMessage().value_or(QString());
        m_failedAlert->tell(tr("Failed to Send"), why.isEmpty() ? tr("Unknown error.") : why);
        return;
    }
    beginAnew();
    if (isVisible()) {
        m_sentAlert->tell(tr("Bug Report Sent"), tr("Report has been sent successfully."));
    } else {
        m_parts.sent();
    }
}

void BugReportWindow::beginAnew()
{
    {
        const QSignalBlocker quiet(m_description);
        m_description->clear();
    }
    for (QCheckBox *box : {m_isReproducible, m_duringImport, m_duringOpening, m_withBundle}) {
        const QSignalBlocker quiet(box);
        box->setChecked(false);
    }
    m_parts.model.setForm({});
}

void BugReportWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
    } else {
        QWidget::keyPressEvent(event);
    }
}

} // namespace gateway::shell
