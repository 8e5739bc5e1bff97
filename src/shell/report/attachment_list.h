#pragma once

#include <QtCore/QList>
#include <QtCore/QUrl>
#include <QtWidgets/QWidget>

class QVBoxLayout;

namespace gateway::shell {

class Theme;

/// The files of a report, each with a way to leave it out.
///
/// Owner: its parent. Thread: main.
class AttachmentList : public QWidget
{
    Q_OBJECT

public:
    /// \param theme  outlives this.
    explicit AttachmentList(const Theme &theme, QWidget *parent = nullptr);

    void setFiles(const QList<QUrl> &files);

Q_SIGNALS:
    void removeRequested(const QUrl &file);

private:
    QWidget *makeRow(const QUrl &file);

    const Theme &m_theme;
    QVBoxLayout *m_column;
    QList<QUrl> m_shown;
};

} // namespace gateway::shell
