#include "shell/browser/series_sheet.h"

#include "shell/browser/browser_panel.h"
#include "shell/browser/browser_table_view.h"
#include "shell/browser/table_keeper.h"
#include "shell/controls/button.h"
#include "shell/controls/elided_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QHBoxLayout>

#include <utility>

namespace gateway::shell {

namespace {

constexpr int kWidth = 980;
constexpr int kHeight = 560;

QString titleOf(browser::TableKind kind)
{
    return browser::isCloud(kind) ? SeriesSheet::tr("Quorin Cloud Series") : SeriesSheet::tr("Local Series");
}

QWidget *makeHeading(const Theme &theme, const SeriesSheet::Study &study)
{
    auto *heading = new QWidget;
    auto *column = new QVBoxLayout(heading);
    column->setContentsMargins({});
    column->setSpacing(2);
    const auto add = [&](const QString &words, TypeStyle style, Color color) {
        auto *line = new ElidedLabel(theme, style, color); // as long as a stranger likes
        line->setWords(words);
        column->addWidget(line);
        return line;
    };
    add(SeriesSheet::tr("Study: %1").arg(study.description), TypeStyle::body, Color::text);
    add(SeriesSheet::tr("Patient: %1 (%2)").arg(study.patientName, study.patientID),
        TypeStyle::body,
        Color::text);
    add(SeriesSheet::tr("UID: %1").arg(study.uid), TypeStyle::small, Color::text2)
        ->setFont(theme.monoFont(TypeStyle::small));
    return heading;
}

} // namespace

SeriesSheet::SeriesSheet(const BrowserParts &parts,
                         std::shared_ptr<browser::BrowserTable> table,
                         const Study &study,
                         std::function<bool()> isSignedIn,
                         QWidget &window)
    : Sheet(parts.theme, window, titleOf(table->kind())), m_keeper(parts.keeper), m_table(std::move(table)),
      m_heading(makeHeading(parts.theme, study)),
      m_panel(new BrowserPanel({.theme = parts.theme,
                                .defaults = parts.defaults,
                                .main = parts.main,
                                .pool = parts.pool,
                                .table = *m_table,
                                .isSignedIn = std::move(isSignedIn),
                                .chooseFile = parts.chooseFile}))
{
    setPanelWidth(kWidth);
    setPanelMinimumHeight(kHeight);
    body().addWidget(m_heading);
    body().addWidget(m_panel, 1);
    auto *refresh =
        new Button(parts.theme, ButtonKind::secondary, tr("Refresh"), QStringLiteral("arrow.clockwise"));
    connect(refresh, &QAbstractButton::clicked, m_panel, &BrowserPanel::reloadRequested);
    m_panel->addTool(refresh);
    auto *close = new Button(parts.theme, ButtonKind::secondary, tr("Close"));
    auto *foot = new QHBoxLayout;
    foot->addStretch();
    foot->addWidget(close);
    body().addLayout(foot);
    connect(close, &QAbstractButton::clicked, this, [this] {
        closeSheet();
        leave();
    });
    connect(this, &Sheet::dismissed, this, &SeriesSheet::leave);
}

SeriesSheet::~SeriesSheet()
{
    delete m_panel; // before its table
    m_keeper.keep(std::move(m_table));
}

void SeriesSheet::hidePatient()
{
    m_heading->hide();
}

void SeriesSheet::leave()
{
    Q_EMIT left();
    deleteLater();
}

} // namespace gateway::shell
