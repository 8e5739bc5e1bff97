#include <QtCore/QMimeData>
#include <QtCore/QTextStream>
#include <QtCore/QUrl>
#include <QtGui/QDrag>
#include <QtGui/QMouseEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QWidget>

namespace {

/// What a file browser does for who drags: offers files from a small window, and says what became of them.
///
/// Owner: main. Thread: main.
class DragSource : public QWidget
{
public:
    explicit DragSource(QList<QUrl> files) : m_files(std::move(files)) {}

protected:
    void mouseMoveEvent(QMouseEvent * /*event*/) override
    {
        if (m_isOffered) {
            return;
        }
        m_isOffered = true;
        auto *mime = new QMimeData;
        mime->setUrls(m_files);
        auto *drag = new QDrag(this);
        drag->setMimeData(mime);
        const bool isTaken = drag->exec(Qt::CopyAction) == Qt::CopyAction;
        QTextStream(stdout) << (isTaken ? "taken" : "refused") << Qt::endl;
    }

private:
    const QList<QUrl> m_files;
    bool m_isOffered = false;
};

} // namespace

/// drag-source FILE...: a window in the upper left corner from which the files can be dragged once.
int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QList<QUrl> files;
    for (const QString &path : QApplication::arguments().mid(1)) {
        files.append(QUrl::fromLocalFile(path));
    }
    DragSource source(files);
    source.setWindowFlag(Qt::FramelessWindowHint);
    source.setWindowTitle(QStringLiteral("Drag Source"));
    source.setGeometry(0, 40, 120, 80);
    source.show();
    return QApplication::exec();
}
