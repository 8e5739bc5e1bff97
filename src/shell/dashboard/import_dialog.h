#pragma once

#include <QtCore/QList>
#include <QtCore/QUrl>
#include <QtWidgets/QDialog>

#include <memory>

class QFileSystemModel;
class QListWidget;
class QTreeView;

namespace gateway::receive {
struct ImportPanelRequest;
}

namespace gateway::shell {

class Button;
class ElidedLabel;
class TextLabel;
class Theme;

/// Lets the operator choose files and folders together, which the desktops' own panels don't.
///
/// Folders are read on another thread, so that a slow disc or share blocks nothing.
///
/// Owner: its parent window. Thread: main.
class ImportDialog : public QDialog
{
    Q_OBJECT

public:
    /// \param folder  where it begins.
    ImportDialog(const Theme &theme,
                 const receive::ImportPanelRequest &request,
                 const QString &folder,
                 QWidget *parent = nullptr);
    ~ImportDialog() override;

    /// What is chosen; empty while nothing is.
    QList<QUrl> chosen() const;

    /// The folder that shows.
    QString folder() const;

    /// Shows another folder; a path that is none changes nothing.
    void setFolder(const QString &path);

    QTreeView &files() { return *m_files; }
    QListWidget &places() { return *m_places; }
    Button &confirmButton() { return *m_confirm; }

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    class Icons;

    QWidget *makeLocation();
    QWidget *makeFoot(const receive::ImportPanelRequest &request);
    void makeFiles(const receive::ImportPanelRequest &request);
    void makePlaces();
    void addPlace(const QString &name, const QString &path, const QString &symbol);
    void activate(const QModelIndex &index);
    void goUp();
    void showChoice();

    const Theme &m_theme;
    const std::unique_ptr<Icons> m_icons;
    QFileSystemModel *m_model;
    QTreeView *m_files;
    QListWidget *m_places;
    Button *m_up = nullptr;
    ElidedLabel *m_location = nullptr;
    TextLabel *m_choice = nullptr;
    Button *m_confirm = nullptr;
};

} // namespace gateway::shell
