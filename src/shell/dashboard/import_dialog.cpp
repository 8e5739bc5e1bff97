#include "shell/dashboard/import_dialog.h"

#include "receive/import_panel.h"
#include "shell/controls/button.h"
#include "shell/controls/canvas.h"
#include "shell/controls/card.h"
#include "shell/controls/text_label.h"
#include "shell/dashboard/elided_label.h"
#include "shell/theme/theme.h"

#include <QtCore/QDir>
#include <QtCore/QStandardPaths>
#include <QtGui/QAbstractFileIconProvider>
#include <QtGui/QFileSystemModel>
#include <QtGui/QKeyEvent>
#include <QtGui/QShortcut>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QStyledItemDelegate>
#include <QtWidgets/QTreeView>

namespace gateway::shell {

/// The house's icons in place of those of the desktop's theme, which may have none. Thread: the model's.
class ImportDialog::Icons : public QAbstractFileIconProvider
{
public:
    explicit Icons(const Theme &theme)
        : m_folder(theme.icon(u"folder.fill", Color::blue)), m_file(theme.icon(u"photo.stack", Color::muted))
    {
    }

    QIcon icon(IconType type) const override { return type == File ? m_file : m_folder; }
    QIcon icon(const QFileInfo &info) const override { return info.isDir() ? m_folder : m_file; }

private:
    const QIcon m_folder;
    const QIcon m_file;
};

namespace {

constexpr QSize kUsualSize{860, 560};
constexpr int kPlacesWidth = 200;
constexpr int kNameWidth = 340;
constexpr int kSymbolEdge = 16;
constexpr int kPathRole = Qt::UserRole;

enum Column
{
    name,
    size,
    type,
    date
};

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
                           QWidget *parent)
    : QDialog(parent), m_theme(theme), m_icons(std::make_unique<Icons>(theme)),
      m_model(new QFileSystemModel(this)), m_files(new QTreeView), m_places(new QListWidget)
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
    auto *middle = new QHBoxLayout;
    middle->setSpacing(theme.space(Space::gap));
    middle->addWidget(m_places);
    middle->addWidget(card, 1);
    column->addLayout(middle, 1);
    column->addWidget(makeFoot(request));
    setFolder(QFileInfo(folder).isDir() ? folder : QDir::homePath());
    m_files->setFocus();
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
    QDir::Filters shown = QDir::NoDotAndDotDot | QDir::AllDirs;
    if (request.allowsFiles) {
        shown |= QDir::Files;
    }
    m_model->setFilter(shown);
    m_model->setIconProvider(m_icons.get());
    m_model->setReadOnly(!request.canCreateDirectories);
    m_files->setModel(m_model);
    m_files->setAccessibleName(tr("Files and folders"));
    m_files->setRootIsDecorated(false);
    m_files->setItemsExpandable(false);
    m_files->setUniformRowHeights(true);
    m_files->setIndentation(0);
    m_files->setIconSize({kSymbolEdge, kSymbolEdge});
    m_files->setItemDelegate(new RowDelegate(m_theme.size(Size::rowCompact), m_files));
    m_files->setSortingEnabled(true);
    m_files->sortByColumn(Column::name, Qt::AscendingOrder);
    m_files->setSelectionMode(request.allowsMultipleSelection ? QAbstractItemView::ExtendedSelection
                                                              : QAbstractItemView::SingleSelection);
    m_files->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_files->hideColumn(Column::type);
    m_files->setColumnWidth(Column::name, kNameWidth);
    m_files->header()->setSectionResizeMode(Column::name, QHeaderView::Stretch);
    m_files->header()->setStretchLastSection(false);
    m_files->header()->setSectionResizeMode(Column::size, QHeaderView::ResizeToContents);
    m_files->header()->setSectionResizeMode(Column::date, QHeaderView::ResizeToContents);
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
    addPlace(tr("Home"), QDir::homePath(), QStringLiteral("folder.fill"));
    addPlace(tr("Desktop"), standard(QStandardPaths::DesktopLocation), QStringLiteral("folder.fill"));
    addPlace(tr("Documents"), standard(QStandardPaths::DocumentsLocation), QStringLiteral("folder.fill"));
    addPlace(tr("Downloads"), standard(QStandardPaths::DownloadLocation), QStringLiteral("folder.fill"));
    // Discs and sticks, by the names of the places that they are mounted at.
    const QString user = qEnvironmentVariable("USER");
    for (const QString &media : {u"/run/media/"_qs + user, u"/media/"_qs + user, u"/media"_qs, u"/mnt"_qs}) {
        const QStringList volumes = QDir(media).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QString &volume : volumes) {
            if (volume != user) {
                addPlace(volume, media + u'/' + volume, QStringLiteral("internaldrive.fill"));
            }
        }
    }
    addPlace(tr("This computer"), QDir::rootPath(), QStringLiteral("internaldrive.fill"));
    connect(m_places, &QListWidget::itemClicked, this, [this](const QListWidgetItem *item) {
        setFolder(item->data(kPathRole).toString());
    });
    connect(m_places, &QListWidget::itemActivated, this, [this](const QListWidgetItem *item) {
        setFolder(item->data(kPathRole).toString());
        m_files->setFocus();
    });
}

void ImportDialog::addPlace(const QString &name, const QString &path, const QString &symbol)
{
    for (int row = 0; row < m_places->count(); ++row) {
        if (m_places->item(row)->data(kPathRole).toString() == path) {
            return;
        }
    }
    if (QFileInfo::exists(path)) {
        auto *item = new QListWidgetItem(m_theme.icon(symbol), name, m_places);
        item->setData(kPathRole, path);
        item->setSizeHint({0, m_theme.size(Size::row)});
    }
}

QString ImportDialog::folder() const
{
    return m_model->rootPath();
}

void ImportDialog::setFolder(const QString &path)
{
    if (!QFileInfo(path).isDir()) {
        return;
    }
    m_files->setRootIndex(m_model->setRootPath(path));
    m_files->clearSelection();
    m_location->setWords(QDir::toNativeSeparators(path));
    m_up->setEnabled(!QDir(path).isRoot());
    showChoice();
}

void ImportDialog::goUp()
{
    QDir parent(folder());
    if (parent.cdUp()) {
        setFolder(parent.path());
    }
}

void ImportDialog::activate(const QModelIndex &index)
{
    if (m_model->isDir(index)) {
        setFolder(m_model->filePath(index));
    } else {
        accept();
    }
}

QList<QUrl> ImportDialog::chosen() const
{
    QList<QUrl> urls;
    const QModelIndexList rows = m_files->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows) {
        urls.append(QUrl::fromLocalFile(m_model->filePath(row)));
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

ImportDialog::~ImportDialog()
{
    delete m_model; // its thread asks for icons
}

void ImportDialog::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Backspace ||
        (event->key() == Qt::Key_Up && event->modifiers() == Qt::AltModifier)) {
        goUp();
        return;
    }
    QDialog::keyPressEvent(event);
}

} // namespace gateway::shell
