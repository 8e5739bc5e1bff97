#pragma once

#include <QtWidgets/QWidget>

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

    /// Marks the field and tells why; an empty reason takes both away.
    void setError(const QString &reason);

private:
    TextField *m_field;
    const QString m_hint;
    TextLabel *m_below;
};

} // namespace gateway::shell
