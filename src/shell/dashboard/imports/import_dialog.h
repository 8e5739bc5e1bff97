#pragma once

#include "shell/dashboard/imports/import_disk.h"

#include <QtCore/QList>
#include <QtCore/QUrl>
#include <QtWidgets/QDialog>

class QListWidget;
class QTreeView;

namespace gateway::receive {
struct ImportPanelRequest;
}

namespace gateway::shell {

class Button;
class ElidedLabel;
class ImportEntries;
class SortedImportEntries;
class TextLabel;
class Theme;

/// Lets the operator choose files and folders together, which the desktops' own panels don't.
///
/// Disks are asked on threads of their own: one on a share that is dead keeps nobody from other folders.
///
/// Owner: its parent window. Thread: main.
class ImportDialog : public QDialog
{
    Q_OBJECT

public:
    /// \param folder  where it begins, or at home where that is none.
    ImportDialog(const Theme &theme,
                 const receive::ImportPanelRequest &request,
                 const QString &folder,
                 ImportDisk disk,
                 QWidget *parent = nullptr);

    /// What is chosen; empty while nothing is.
    QList<QUrl> chosen() const;

    /// The folder that shows; empty before the first one has answered.
    const QString &folder() const { return m_folder; }

    /// Shows another folder as soon as it answers; a path that is none changes nothing.
    void setFolder(const QString &path);

    QTreeView &files() { return *m_files; }
    QListWidget &places() { return *m_places; }
    Button &confirmButton() { return *m_confirm; }

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *makeLocation();
    QWidget *makeFoot(const receive::ImportPanelRequest &request);
    void makeFiles(const receive::ImportPanelRequest &request);
    void makePlaces();
    void askForPlace(const QString &name, const QString &path);
    void askForVolumes(const QString &folder);
    void addPlace(const QString &name, const QString &path, const QString &symbol, int rank);
    void visit(const QString &path, const QString &otherwise);
    void opened(int number, const QString &path);
    void tellPartial(int number, const QString &path);
    void refused(int number, const QString &otherwise);
    void showLocation();
    void activate(const QModelIndex &index);
    void goUp();
    void showChoice();

    const Theme &m_theme;
    const ImportDisk m_disk;
    const bool m_showsFiles;
    ImportEntries *m_entries;
    SortedImportEntries *m_sorted;
    QTreeView *m_files;
    QListWidget *m_places;
    Button *m_up = nullptr;
    ElidedLabel *m_location = nullptr;
    TextLabel *m_partial = nullptr; // seen where not all of the folder can be shown
    TextLabel *m_choice = nullptr;
    Button *m_confirm = nullptr;
    QString m_folder;
    QString m_awaited; // the folder that was asked for and hasn't answered yet
    int m_visit = 0;   // the newest; what is found for others is dropped
};

} // namespace gateway::shell
