#include "shell/log/log_details.h"

#include "shell/controls/button.h"
#include "shell/controls/chip.h"
#include "shell/controls/text_label.h"
#include "shell/log/log_event_words.h"
#include "shell/log/log_screen_words.h"
#include "shell/log/log_table_model.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>
#include <QtGui/QShortcut>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QScrollArea>

namespace gateway::shell {

namespace {

constexpr int kFieldsARow = 3;
constexpr int kRawLines = 5;
constexpr int kFewestRawLines = 2;     // where the window is low
constexpr int kLeastFieldsHeight = 76; // two rows of them

} // namespace

LogDetails::LogDetails(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_title(new TextLabel(theme, {}, TypeStyle::h3)),
      m_level(new Chip(theme, {}, Color::muted)),
      m_life(new Button(
          theme, ButtonKind::quiet, tr("Show Life of This Image"), QStringLiteral("list.bullet.rectangle"))),
      m_copy(new Button(theme, ButtonKind::quiet, tr("Copy Line"), QStringLiteral("doc.on.doc"))),
      m_fieldsArea(new QScrollArea), m_rawLine(new QPlainTextEdit)
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(theme.space(Space::gap), theme.space(Space::gap), theme.space(Space::gap), 0);
    column->setSpacing(theme.space(Space::tight));
    auto *close = new Button(theme, ButtonKind::quiet, {}, QStringLiteral("xmark"));
    close->setAccessibleName(tr("Close details"));
    close->setToolTip(tr("Close details"));
    auto *head = new QHBoxLayout;
    head->setSpacing(theme.space(Space::tight));
    head->addWidget(m_title);
    head->addWidget(m_level);
    head->addStretch();
    head->addWidget(m_life);
    head->addWidget(m_copy);
    head->addWidget(close);
    column->addLayout(head);
    m_fieldsArea->setFrameShape(QFrame::NoFrame);
    m_fieldsArea->setWidgetResizable(true);
    m_fieldsArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_fieldsArea->setMinimumHeight(kLeastFieldsHeight);
    m_fieldsArea->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    m_fieldsArea->viewport()->setAutoFillBackground(false);
    column->addWidget(m_fieldsArea);
    m_rawLine->setReadOnly(true);
    m_rawLine->setAccessibleName(tr("Log line"));
    m_rawLine->setFont(theme.monoFont(TypeStyle::small));
    m_rawLine->setWordWrapMode(QTextOption::WrapAnywhere);
    m_rawLine->setTabChangesFocus(true);
    m_rawLine->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // every line wraps
    const auto heightOf = [&](int lines) {
        return lines * m_rawLine->fontMetrics().lineSpacing() + 2 * theme.space(Space::gap);
    };
    m_rawLine->setMinimumHeight(heightOf(kFewestRawLines));
    m_rawLine->setMaximumHeight(heightOf(kRawLines));
    column->addWidget(m_rawLine);
    connect(m_life, &QAbstractButton::clicked, this, [this] { Q_EMIT lifeRequested(m_hash); });
    connect(m_copy, &QAbstractButton::clicked, this, &LogDetails::copyRequested);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
    connect(close, &QAbstractButton::clicked, this, &LogDetails::closeRequested);
    auto *escape = new QShortcut(Qt::Key_Escape, this);
    escape->setContext(Qt::WidgetWithChildrenShortcut);
    connect(escape, &QShortcut::activated, this, &LogDetails::closeRequested);
}

void LogDetails::show(const std::optional<log::LogRow> &row)
{
    auto *fields = new QWidget;
    m_grid = new QGridLayout(fields);
    m_grid->setContentsMargins({});
    m_grid->setHorizontalSpacing(m_theme.space(Space::page));
    m_grid->setVerticalSpacing(m_theme.space(Space::tight));
    for (int column = 0; column < kFieldsARow; ++column) {
        m_grid->setColumnStretch(column, 1);
    }
    m_level->setVisible(row.has_value());
    if (row) {
        m_level->setText(wordFor(row->event.level));
        m_level->setColor(colorFor(row->event.level));
    }
    m_copy->setEnabled(row.has_value());
    showLifeButton(row);
    m_title->setText(row ? wordsFor(row->event.action) : tr("This line isn't in its file any more."));
    m_rawLine->setPlainText(row ? row->rawLine : QString());
    m_rawLine->setVisible(row.has_value());
    if (row) {
        showFields(*row);
    }
    m_fieldsArea->setWidget(fields); // the former ones go
    fields->setAutoFillBackground(false);
    m_fieldsArea->setMaximumHeight(fields->sizeHint().height());
}

/// What is done in the cloud concerns no image here.
void LogDetails::showLifeButton(const std::optional<log::LogRow> &row)
{
    const bool isOfImages = row && row->event.category != log::GatewayLogCategory::quorinCloud;
    const auto hash = isOfImages && row->event.fileHash ? row->event.fileHash
                      : isOfImages                      ? row->event.assocHash
                                                        : std::nullopt;
    m_hash = hash.value_or(QString());
    m_life->setText(row && row->event.fileHash ? tr("Show Life of This Image")
                                               : tr("Show Lives of Its Images"));
    m_life->setVisible(hash.has_value());
}

void LogDetails::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, m_theme.color(Color::line)); // parts it from the list above
}

void LogDetails::showFields(const log::LogRow &row)
{
    const log::GatewayLogEvent &event = row.event;
    const auto addPresent = [this](const QString &name, const std::optional<QString> &value) {
        if (value) {
            addField(name, *value);
        }
    };
    addField(tr("Time"), logTimeText(event.timestamp));
    addField(tr("Action"), QString(rawValue(event.action)));
    addField(tr("Outcome"), QString(rawValue(event.outcome)));
    addPresent(tr("Correlation"), event.correlationId);
    addPresent(tr("File"), event.fileHash);
    addPresent(tr("Assoc"), event.assocHash);
    if (event.attempt) {
        addField(tr("Attempt"), QString::number(*event.attempt));
    }
    if (event.fileSizeBytes) {
        addField(tr("Size"), tr("%L1 bytes").arg(*event.fileSizeBytes));
    }
    if (event.error) {
        addField(tr("Error %1").arg(event.error->code), event.error->domain + u'\n' + event.error->message);
    }
    if (event.details) {
        for (auto detail = event.details->begin(); detail != event.details->end(); ++detail) {
            addField(detail.key(), detail.value());
        }
    }
    addField(tr("Log File"), row.sourceFile);
}

void LogDetails::addField(const QString &name, const QString &value)
{
    const int place = m_grid->count();
    auto *field = new QVBoxLayout;
    field->setSpacing(2);
    field->addWidget(new TextLabel(m_theme, name, TypeStyle::small, Color::muted));
    auto *text = new TextLabel(m_theme, value, TypeStyle::small);
    text->setMono();
    text->setAccessibleName(QStringLiteral("%1: %2").arg(name, value));
    field->addWidget(text);
    field->addStretch();
    m_grid->addLayout(field, place / kFieldsARow, place % kFieldsARow);
}

} // namespace gateway::shell
