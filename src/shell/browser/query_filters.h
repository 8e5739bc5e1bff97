#pragma once

#include "browser/quorin_cloud_qido_study_table_view_model.h"

#include <QtWidgets/QWidget>

class QGridLayout;

namespace gateway::shell {

class Button;
class ComboBox;
class DateButton;
class Switch;
class TextField;
class Theme;

/// What a query of the cloud asks for, as fields; the model has what they say.
///
/// Owner: its parent. Thread: main.
class QueryFilters : public QWidget
{
    Q_OBJECT

public:
    /// \param model  outlives this.
    QueryFilters(const Theme &theme,
                 browser::QuorinCloudQidoStudyTableViewModel &model,
                 QWidget *parent = nullptr);

Q_SIGNALS:
    /// Return was pressed in a field.
    void submitted();

    /// "Query" was pressed.
    void queryRequested();

private:
    using Filter = QString browser::QuorinCloudStudyFilters::*;

    QWidget *makeHead();
    TextField *
    addField(QGridLayout &grid, int cell, const QString &name, const QString &prompt, Filter filter);
    QWidget *makeBirthDate();
    QWidget *makeStudyDate();
    void change(const std::function<void(browser::QuorinCloudStudyFilters &)> &change);
    void showFilters();

    const Theme &m_theme;
    browser::QuorinCloudQidoStudyTableViewModel &m_model;
    QList<std::pair<TextField *, Filter>> m_fields;
    Button *m_query;
    Switch *m_usesBirthDate;
    DateButton *m_birthDate;
    ComboBox *m_mode;
    DateButton *m_studyDate;
};

} // namespace gateway::shell
