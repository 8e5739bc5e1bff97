#include "shell/dashboard/imports/import_dialog.h"

#include "browser/text_order.h"
#include "platform/concurrency/unawaited.h"
#include "receive/import_panel.h"
#include "shell/controls/button.h"
#include "shell/controls/canvas.h"
#include "shell/controls/card.h"
#include "shell/controls/elided_label.h"
#include "shell/controls/text_label.h"
#include "shell/dashboard/imports/import_entries.h"
#include "shell/theme/theme.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QPointer>
#include <QtCore/QStandardPaths>
#include <QtGui/QKeyEvent>
#include <QtGui/QShortcut>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QStyledItemDelegate>
#include <QtWidgets/QTreeView>

#include <functional>
#include <utility>

namespace gateway::shell {

namespace {

constexpr QSize kUsualSize{860, 560};
constexpr int kPlacesWidth = 200;
constexpr int kNameWidth = 340;
constexpr int kSymbolEdge = 16;
constexpr int kPathRole = Qt::UserRole;
constexpr int kRankRole = Qt::UserRole + 1;

// Places in the order in which they stand, whichever answers first.
enum PlaceRank
{
    homeRank,
    folderRank,
    volumeRank,
    computerRank
};

/// Puts a question about disks to a thread of its own, and what comes of it to the dialog, if that still
/// stands.
///
/// \param question  is given a function by which it answers, as often as it likes.
template <typename Question>
void askAway(ImportDialog &dialog, Question question)
{
    using Answer = std::function<void(ImportDialog &)>;
    platform::runUnawaited("import-panel", [guard = QPointer(&dialog), question = std::move(question)] {
        question([guard](Answer answer) {
            if (QCoreApplication *const application = QCoreApplication::instance()) {
                QMetaObject::invokeMethod(
                    application,
                    [guard, answer = std::move(answer)] {
                        if (guard != nullptr) {
                            answer(*guard);
                        }
                    },
                    Qt::QueuedConnection);
            }
        });
    });
}

/// Rows as high as those of every list.
class RowDelegate : public QStyledItemDelegate
{
public:
    RowDelegate(int height, QObject *parent) : QStyledItemDelegate(parent), m_height(height) {}

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        return {QStyledItemDelegate::sizeHint(option, index).width(), m_height};
    }

private:
    const int m_height;
};

/// What the request asks for, in the user's language.
QString panelWord(const QString &word)
{
    static const char *const kWords[] = {
        QT_TRANSLATE_NOOP("gateway::shell::ImportDialog", "Import DICOM Files"),
        QT_TRANSLATE_NOOP("gateway::shell::ImportDialog", "Select files and folders to import DICOM files."),
        QT_TRANSLATE_NOOP("gateway::shell::ImportDialog", "Import"),
    };
    for (const char *known : kWords) {
        if (word == QLatin1String(known)) {
            return ImportDialog::tr(known);
        }
    }
    return word;
}

} // namespace

ImportDialog::ImportDialog(const Theme &theme,
                           const receive::ImportPanelRequest &request,
                           const QString &folder,
                           ImportDisk disk,
                           QWidget *parent)
    : QDialog(parent), m_theme(theme), m_disk(std::move(disk)), m_showsFiles(request.allowsFiles),
      m_entries(new ImportEntries(theme, this)), m_sorted(new SortedImportEntries(*m_entries, this)),
      m_files(new QTreeView), m_places(new QListWidget)
{
    setWindowTitle(panelWord(request.title));
    resize(kUsualSize);
    auto *ground = new Canvas(theme);
    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->addWidget(ground);
    auto *column = new QVBoxLayout(ground);
    const int page = theme.space(Space::page);
    column->setContentsMargins(page, page, page, page);
    column->setSpacing(theme.space(Space::wide));
    column->addWidget(new TextLabel(theme, panelWord(request.message), TypeStyle::bodyStrong));
    makePlaces();
    makeFiles(request);
    auto *card = new Card(theme);
    card->body().addWidget(makeLocation());
    card->body().addWidget(m_files, 1);
    m_partial = new TextLabel(theme, {}, TypeStyle::body, Color::amber);
    m_partial->setWordWrap(true);
    m_partial->hide();
    card->body().addWidget(m_partial);
    auto *middle = new QHBoxLayout;
    middle->setSpacing(theme.space(Space::gap));
    middle->addWidget(m_places);
    middle->addWidget(card, 1);
    column->addLayout(middle, 1);
    column->addWidget(makeFoot(request));
    visit(folder, QDir::homePath());
    m_files->setFocus();
    connect(new QShortcut(QKeySequence::Refresh, this), &QShortcut::activated, this, [this] {
        setFolder(m_folder);
    });
}

QWidget *ImportDialog::makeLocation()
{
    auto *location = new QWidget;
    auto *row = new QHBoxLayout(location);
    row->setContentsMargins({});
    row->setSpacing(m_theme.space(Space::tight));
    m_up = new Button(m_theme, ButtonKind::secondary, {}, QStringLiteral("arrow.up"));
    m_up->setAccessibleName(tr("Enclosing folder"));
    m_up->setToolTip(tr("Enclosing folder (Backspace)"));
    m_up->setAutoDefault(false);
    m_location = new ElidedLabel(m_theme, TypeStyle::bodyStrong, Color::text);
    row->addWidget(m_up);
    row->addWidget(m_location, 1);
    connect(m_up, &QAbstractButton::clicked, this, &ImportDialog::goUp);
    return location;
}

QWidget *ImportDialog::makeFoot(const receive::ImportPanelRequest &request)
{
    auto *foot = new QWidget;
    auto *row = new QHBoxLayout(foot);
    row->setContentsMargins({});
    row->setSpacing(m_theme.space(Space::tight));
    m_choice = new TextLabel(m_theme, {}, TypeStyle::body, Color::text2);
    auto *cancel = new Button(m_theme, ButtonKind::secondary, tr("Cancel"));
    m_confirm = new PrimaryButton(m_theme, panelWord(request.confirmButton));
    cancel->setAutoDefault(false);
    m_confirm->setAutoDefault(false);
    row->addWidget(m_choice, 1);
    row->addWidget(cancel);
    row->addWidget(m_confirm);
    connect(cancel, &QAbstractButton::clicked, this, &QDialog::reject);
    connect(m_confirm, &QAbstractButton::clicked, this, &QDialog::accept);
    showChoice();
    return foot;
}

void ImportDialog::makeFiles(const receive::ImportPanelRequest &request)
{
    m_files->setModel(m_sorted);
    m_files->setAccessibleName(tr("Files and folders"));
    m_files->setRootIsDecorated(false);
    m_files->setItemsExpandable(false);
    m_files->setUniformRowHeights(true);
    m_files->setIndentation(0);
    m_files->setIconSize({kSymbolEdge, kSymbolEdge});
    m_files->setItemDelegate(new RowDelegate(m_theme.size(Size::rowCompact), m_files));
    m_files->setSortingEnabled(true);
    m_files->sortByColumn(ImportEntries::nameColumn, Qt::AscendingOrder);
    m_files->setSelectionMode(request.allowsMultipleSelection ? QAbstractItemView::ExtendedSelection
                                                              : QAbstractItemView::SingleSelection);
    m_files->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_files->setColumnWidth(ImportEntries::nameColumn, kNameWidth);
    m_files->header()->setSectionResizeMode(ImportEntries::nameColumn, QHeaderView::Stretch);
    m_files->header()->setStretchLastSection(false);
    m_files->header()->setSectionResizeMode(ImportEntries::sizeColumn, QHeaderView::ResizeToContents);
    m_files->header()->setSectionResizeMode(ImportEntries::dateColumn, QHeaderView::ResizeToContents);
    connect(m_files, &QAbstractItemView::activated, this, &ImportDialog::activate);
    connect(
        m_files->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ImportDialog::showChoice);
}

void ImportDialog::makePlaces()
{
    m_places->setFixedWidth(kPlacesWidth);
    m_places->setIconSize({kSymbolEdge, kSymbolEdge});
    m_places->setAccessibleName(tr("Places"));
    const auto standard = [](QStandardPaths::StandardLocation which) {
        return QStandardPaths::writableLocation(which);
    };
    addPlace(tr("Home"), QDir::homePath(), QStringLiteral("folder.fill"), homeRank);
    addPlace(tr("This computer"), QDir::rootPath(), QStringLiteral("internaldrive.fill"), computerRank);
    askForPlace(tr("Desktop"), standard(QStandardPaths::DesktopLocation));
    askForPlace(tr("Documents"), standard(QStandardPaths::DocumentsLocation));
    askForPlace(tr("Downloads"), standard(QStandardPaths::DownloadLocation));
    const QString user = qEnvironmentVariable("USER");
    for (const QString &media : {u"/run/media/"_qs + user, u"/media/"_qs + user, u"/media"_qs, u"/mnt"_qs}) {
        askForVolumes(media);
    }
    connect(m_places, &QListWidget::itemClicked, this, [this](const QListWidgetItem *item) {
        setFolder(item->data(kPathRole).toString());
    });
    connect(m_places, &QListWidget::itemActivated, this, [this](const QListWidgetItem *item) {
        setFolder(item->data(kPathRole).toString());
        m_files->setFocus();
    });
}

/// A folder of the user's own, which shows when it has answered.
void ImportDialog::askForPlace(const QString &name, const QString &path)
{
    askAway(*this, [isFolder = m_disk.isFolder, name, path](const auto &answer) {
        if (isFolder(path)) {
            answer([name, path](ImportDialog &dialog) {
                dialog.addPlace(name, path, QStringLiteral("folder.fill"), folderRank);
            });
        }
    });
}

/// Discs and sticks, by the names of the places that they are mounted at. They aren't asked.
void ImportDialog::askForVolumes(const QString &folder)
{
    askAway(*this, [mountPointsIn = m_disk.mountPointsIn, folder](const auto &answer) {
        answer([folder, volumes = mountPointsIn(folder)](ImportDialog &dialog) {
            const QString user = qEnvironmentVariable("USER");
            for (const QString &volume : volumes) {
                if (volume != user) {
                    const QString path = folder + u'/' + volume;
                    dialog.addPlace(volume, path, QStringLiteral("internaldrive.fill"), volumeRank);
                }
            }
        });
    });
}

/// Within a rank places stand by their names.
void ImportDialog::addPlace(const QString &name, const QString &path, const QString &symbol, int rank)
{
    int row = 0;
    for (int each = 0; each < m_places->count(); ++each) {
        const QListWidgetItem &place = *m_places->item(each);
        if (place.data(kPathRole).toString() == path) {
            return;
        }
        const int other = place.data(kRankRole).toInt();
        if (other < rank || (other == rank && browser::textOrder().compare(place.text(), name) < 0)) {
            row = each + 1;
        }
    }
    auto *item = new QListWidgetItem(m_theme.icon(symbol), name);
    item->setData(kPathRole, path);
    item->setData(kRankRole, rank);
    item->setSizeHint({0, m_theme.size(Size::row)});
    m_places->insertItem(row, item);
}

void ImportDialog::setFolder(const QString &path)
{
    visit(path, {});
}

/// \param otherwise  shows where the path is no folder; empty for none.
void ImportDialog::visit(const QString &path, const QString &otherwise)
{
    const int number = ++m_visit;
    m_awaited = path;
    showLocation();
    askAway(*this, [disk = m_disk, number, path, otherwise](const auto &answer) {
        if (!disk.isFolder(path)) {
            answer([number, otherwise](ImportDialog &dialog) { dialog.refused(number, otherwise); });
            return;
        }
        answer([number, path](ImportDialog &dialog) { dialog.opened(number, path); });
        const bool isAll = disk.read(path, [number, &answer](QList<ImportEntry> found) {
            answer([number, found = std::move(found)](ImportDialog &dialog) mutable {
                if (!dialog.m_showsFiles) {
                    found.removeIf([](const ImportEntry &entry) { return !entry.isFolder; });
                }
                if (number == dialog.m_visit) {
                    dialog.m_entries->add(found);
                }
            });
        });
        if (!isAll) {
            answer([number, path](ImportDialog &dialog) { dialog.tellPartial(number, path); });
        }
    });
}

void ImportDialog::opened(int number, const QString &path)
{
    if (number == m_visit) {
        m_folder = path;
        m_awaited.clear();
        m_entries->clear();
        m_partial->hide();
        m_up->setEnabled(path != QDir::rootPath());
        showLocation();
        showChoice();
    }
}

void ImportDialog::tellPartial(int number, const QString &path)
{
    if (number == m_visit) {
        m_partial->setText(
            tr("Not all in %1 can be shown; import the folder itself.").arg(QDir::toNativeSeparators(path)));
        m_partial->show();
    }
}

void ImportDialog::refused(int number, const QString &otherwise)
{
    if (number == m_visit) {
        m_awaited.clear();
        showLocation();
        if (!otherwise.isEmpty()) {
            visit(otherwise, {});
        }
    }
}

/// What shows, or what is awaited, in whose place what showed before stands as long.
void ImportDialog::showLocation()
{
    m_location->setWords(m_awaited.isEmpty() ? QDir::toNativeSeparators(m_folder)
                                             : tr("Opening %1…").arg(QDir::toNativeSeparators(m_awaited)));
}

void ImportDialog::goUp()
{
    if (!m_folder.isEmpty() && m_folder != QDir::rootPath()) {
        setFolder(QDir::cleanPath(m_folder + QStringLiteral("/..")));
    }
}

void ImportDialog::activate(const QModelIndex &index)
{
    const ImportEntry &entry = m_sorted->entry(index);
    const bool isOneOfMany = m_files->selectionModel()->selectedRows().size() > 1;
    if (entry.isFolder && !isOneOfMany) {
        setFolder(QDir::cleanPath(m_folder + u'/' + entry.name));
    } else {
        accept();
    }
}

QList<QUrl> ImportDialog::chosen() const
{
    QList<QUrl> urls;
    const QModelIndexList rows = m_files->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows) {
        urls.append(QUrl::fromLocalFile(QDir::cleanPath(m_folder + u'/' + m_sorted->entry(row).name)));
    }
    return urls;
}

void ImportDialog::showChoice()
{
    const qsizetype count = m_files->selectionModel()->selectedRows().size();
    m_choice->setText(count == 0   ? tr("Nothing is selected")
                      : count == 1 ? tr("1 item is selected")
                                   : tr("%L1 items are selected").arg(count));
    m_confirm->setEnabled(count > 0);
}

void ImportDialog::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Backspace ||
        (event->key() == Qt::Key_Up && event->modifiers() == Qt::AltModifier)) {
        goUp();
        return;
    }
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && m_files->hasFocus() && !m_files->currentIndex().isValid() && m_confirm->isEnabled()) {
        accept(); // after Ctrl+A the list has no row that it could activate
        return;
    }
    QDialog::keyPressEvent(event);
}

} // namespace gateway::shell
