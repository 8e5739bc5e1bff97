#pragma once

#include "log/browsing/log_row_reader.h"

#include <QtWidgets/QWidget>

#include <optional>

class QGridLayout;
class QPlainTextEdit;
class QScrollArea;

namespace gateway::shell {

class Button;
class Chip;
class TextLabel;
class Theme;

/// All that the log knows of one event, and its line as it stands in the file.
///
/// Owner: the log screen. Thread: main.
class LogDetails : public QWidget
{
    Q_OBJECT

public:
    explicit LogDetails(const Theme &theme, QWidget *parent = nullptr);

    /// Shows a row; without one it says that the line isn't there any more.
    void show(const std::optional<log::LogRow> &row);

Q_SIGNALS:
    /// The line is wanted on the clipboard.
    void copyRequested();

    /// All that happened to the row's image is wanted, or to those of its association. \param hash  of it.
    void lifeRequested(const QString &hash);

    /// The details were sent away.
    void closeRequested();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void showLifeButton(const std::optional<log::LogRow> &row);
    void showFields(const log::LogRow &row);
    void addField(const QString &name, const QString &value);

    const Theme &m_theme;
    TextLabel *m_title;
    Chip *m_level;
    Button *m_life;
    QString m_hash; // of the image or association that the row tells of; empty for another row
    Button *m_copy;
    QScrollArea *m_fieldsArea;     // its widget is made anew for each row
    QGridLayout *m_grid = nullptr; // of that
    QPlainTextEdit *m_rawLine;
};

} // namespace gateway::shell
