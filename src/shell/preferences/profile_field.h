#pragma once

#include <QtWidgets/QWidget>

namespace gateway::shell {

class TextField;
class TextLabel;
class Theme;

/// One text of a profile under its name: read, or edited in its place.
///
/// Owner: ProfileCard. Thread: main.
class ProfileField : public QWidget
{
    Q_OBJECT

public:
    ProfileField(const Theme &theme, const QString &name, QWidget *parent = nullptr);

    /// Shows the text; missing text reads "--".
    void setText(const QString &text);

    void setEditing(bool editing);

    TextField &field() { return *m_field; }

private:
    TextLabel *m_value;
    TextField *m_field;
};

} // namespace gateway::shell
