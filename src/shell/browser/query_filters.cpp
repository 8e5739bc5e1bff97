#include "shell/browser/query_filters.h"

#include "shell/browser/date_button.h"
#include "shell/controls/button.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/form_field.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/theme/theme.h"

#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>

namespace gateway::shell {

namespace {

using browser::QuorinCloudStudyDateFilterMode;
using browser::QuorinCloudStudyFilters;

constexpr int kColumns = 5;
constexpr int kLeastField = 110;

/// A control with its name above, as a FormField has it.
QWidget *named(const Theme &theme, const QString &name, std::initializer_list<QWidget *> controls)
{
    auto *field = new QWidget;
    auto *column = new QVBoxLayout(field);
    column->setContentsMargins({});
    column->setSpacing(theme.space(Space::hair) + 2);
    column->addWidget(new TextLabel(theme, name, TypeStyle::small, Color::text2));
    auto *row = new QHBoxLayout;
    row->setSpacing(theme.space(Space::tight));
    for (QWidget *control : controls) {
        row->addWidget(control);
    }
    row->addStretch();
    column->addLayout(row);
    return field;
}

} // namespace

QueryFilters::QueryFilters(const Theme &theme,
                           browser::QuorinCloudQidoStudyTableViewModel &model,
                           QWidget *parent)
    : QWidget(parent), m_theme(theme), m_model(model),
      m_query(new PrimaryButton(theme, tr("Query"), QStringLiteral("magnifyingglass"))),
      m_usesBirthDate(new Switch(theme)), m_birthDate(new DateButton(theme, tr("Date of Birth"))),
      m_mode(new ComboBox(theme)), m_studyDate(new DateButton(theme, tr("Study Date")))
{
    using F = QuorinCloudStudyFilters;
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(theme.space(Space::gap));
    column->addWidget(makeHead());
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(theme.space(Space::gap));
    grid->setVerticalSpacing(theme.space(Space::gap));
    int cell = 0;
    addField(*grid, cell++, tr("Patient Name"), tr("Name"), &F::patientNameFilter);
    addField(*grid, cell++, tr("Patient ID"), tr("ID"), &F::patientIDFilter);
    addField(*grid, cell++, tr("Accession Number"), tr("Accession"), &F::accessionNumberFilter);
    addField(*grid, cell++, tr("Study Description"), tr("Description"), &F::studyDescriptionFilter);
    addField(*grid, cell++, tr("Modality"), {}, &F::modalityFilter);
    addField(*grid, cell++, tr("Referring Physician"), tr("Physician"), &F::referringPhysicianFilter);
    addField(*grid, cell++, tr("Institution"), tr("Institution"), &F::institutionNameFilter);
    grid->addWidget(makeBirthDate(), 1, 2);
    grid->addWidget(makeStudyDate(), 1, 3, 1, 2);
    for (int each = 0; each < kColumns; ++each) {
        grid->setColumnStretch(each, 1);
    }
    column->addLayout(grid);
    connect(&model, &browser::BrowserTable::changed, this, &QueryFilters::showFilters);
    showFilters();
}

QWidget *QueryFilters::makeHead()
{
    auto *head = new QWidget;
    auto *row = new QHBoxLayout(head);
    row->setContentsMargins({});
    row->setSpacing(m_theme.space(Space::tight));
    row->addWidget(new TextLabel(m_theme, tr("Query Filters"), TypeStyle::h3));
    row->addStretch();
    auto *clear =
        new Button(m_theme, ButtonKind::quiet, tr("Clear Filters"), QStringLiteral("xmark.circle.fill"));
    row->addWidget(clear);
    row->addWidget(m_query);
    m_query->setToolTip(tr("Query (Return in a field)"));
    connect(clear, &QAbstractButton::clicked, &m_model, [this] { m_model.clearFilters(); });
    connect(m_query, &QAbstractButton::clicked, this, &QueryFilters::queryRequested);
    return head;
}

TextField *
QueryFilters::addField(QGridLayout &grid, int cell, const QString &name, const QString &prompt, Filter filter)
{
    auto *field = new TextField(m_theme, prompt);
    field->setMinimumWidth(kLeastField);
    grid.addWidget(new FormField(m_theme, name, field), cell / kColumns, cell % kColumns);
    m_fields.append({field, filter});
    connect(field, &QLineEdit::textEdited, this, [this, filter](const QString &text) {
        change([&](QuorinCloudStudyFilters &filters) { filters.*filter = text; });
    });
    connect(field, &QLineEdit::returnPressed, this, &QueryFilters::submitted);
    return field;
}

QWidget *QueryFilters::makeBirthDate()
{
    m_usesBirthDate->setAccessibleName(tr("Date of Birth"));
    connect(m_usesBirthDate, &QAbstractButton::toggled, this, [this](bool isOn) {
        change([&](QuorinCloudStudyFilters &filters) { filters.usePatientBirthDateFilter = isOn; });
    });
    connect(m_birthDate, &DateButton::dateChosen, this, [this](const QDate &date) {
        change([&](QuorinCloudStudyFilters &filters) { filters.patientBirthDateFilter = date; });
    });
    return named(m_theme, tr("Date of Birth"), {m_usesBirthDate, m_birthDate});
}

QWidget *QueryFilters::makeStudyDate()
{
    const std::pair<QuorinCloudStudyDateFilterMode, QString> modes[] = {
        {QuorinCloudStudyDateFilterMode::any, tr("Any")},
        {QuorinCloudStudyDateFilterMode::today, tr("Today")},
        {QuorinCloudStudyDateFilterMode::yesterday, tr("Yesterday")},
        {QuorinCloudStudyDateFilterMode::custom, tr("Custom")}};
    for (const auto &[mode, title] : modes) {
        m_mode->addItem(title, static_cast<int>(mode));
    }
    m_mode->setAccessibleName(tr("Study Date"));
    connect(m_mode, &QComboBox::activated, this, [this](int index) {
        change([&](QuorinCloudStudyFilters &filters) {
            filters.studyDateFilterMode =
                static_cast<QuorinCloudStudyDateFilterMode>(m_mode->itemData(index).toInt());
        });
    });
    connect(m_studyDate, &DateButton::dateChosen, this, [this](const QDate &date) {
        change([&](QuorinCloudStudyFilters &filters) { filters.customStudyDateFilter = date; });
    });
    return named(m_theme, tr("Study Date"), {m_mode, m_studyDate});
}

void QueryFilters::change(const std::function<void(QuorinCloudStudyFilters &)> &change)
{
    QuorinCloudStudyFilters filters = m_model.filters();
    change(filters);
    m_model.setFilters(filters);
}

void QueryFilters::showFilters()
{
    const QuorinCloudStudyFilters &filters = m_model.filters();
    for (const auto &[field, filter] : m_fields) {
        if (field->text() != filters.*filter) {
            field->setText(filters.*filter);
        }
    }
    m_usesBirthDate->setChecked(filters.usePatientBirthDateFilter);
    m_birthDate->setEnabled(filters.usePatientBirthDateFilter);
    m_birthDate->setDate(filters.patientBirthDateFilter);
    m_mode->setCurrentIndex(m_mode->findData(static_cast<int>(filters.studyDateFilterMode)));
    m_studyDate->setVisible(filters.studyDateFilterMode == QuorinCloudStudyDateFilterMode::custom);
    m_studyDate->setDate(filters.customStudyDateFilter);
    m_query->setBusy(m_model.isLoading());
}

} // namespace gateway::shell
