#pragma once

#include <QtWidgets/QWidget>

class QHBoxLayout;

namespace gateway::shell {

class TextField;
class TextLabel;
class Theme;

/// A field with its name above and, when it is wrong, the reason below.
///
/// Owner: its parent. Thread: main.
class FormField : public QWidget
{
    Q_OBJECT

public:
    /// \param field  becomes a child.
    FormField(const Theme &theme,
              const QString &label,
              TextField *field,
              const QString &hint = {},
              QWidget *parent = nullptr);

    /// Puts something to press at the end of the field's line; it becomes a child.
    void addBeside(QWidget *part);

    /// What stands below the field while nothing is wrong.
    void setHint(const QString &hint);

    /// Marks the field and tells why; an empty reason takes both away.
    void setError(const QString &reason);

private:
    void showBelow();

    TextField *m_field;
    QHBoxLayout *m_line; // the field and what is beside it
    QString m_hint;
    QString m_reason;
    TextLabel *m_below;
};

} // namespace gateway::shell
