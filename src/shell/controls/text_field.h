#pragma once

#include <QtGui/QAction>
#include <QtWidgets/QLineEdit>

namespace gateway::shell {

class Theme;

/// One line of text. An invalid one has a red edge; the words about it stand below, in its FormField.
///
/// Owner: its parent. Thread: main.
class TextField : public QLineEdit
{
    Q_OBJECT

public:
    explicit TextField(const Theme &theme, const QString &prompt = {}, QWidget *parent = nullptr);

    void setInvalid(bool invalid);
    bool isInvalid() const;

protected:
    const Theme &theme() const { return m_theme; }

private:
    const Theme &m_theme;
};

/// A field whose text is hidden until it is asked for.
///
/// Owner: its parent. Thread: main.
class PasswordField : public TextField
{
    Q_OBJECT

public:
    explicit PasswordField(const Theme &theme, const QString &prompt = {}, QWidget *parent = nullptr);

    /// Shows the text as typed, or hides it.
    void setRevealed(bool revealed);

private:
    QAction *m_reveal;
};

/// A field that a list is searched by; Escape empties it.
///
/// Owner: its parent. Thread: main.
class SearchField : public TextField
{
    Q_OBJECT

public:
    explicit SearchField(const Theme &theme, const QString &prompt, QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    QAction *m_clear;
};

} // namespace gateway::shell
