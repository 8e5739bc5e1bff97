#include "receive/temporary_root.h"

#include "log/writing/redaction.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <filesystem>
#include <system_error>

namespace gateway::receive {

namespace {

const QString kPrefix = QStringLiteral("QuorinGatewayManualImport-");

/// Names in it may be bytes of any encoding, so not by Qt; links in it are removed, not followed.
void removeWithContents(const QString &folder)
{
    std::error_code ignored;
    std::filesystem::remove_all(QFile::encodeName(folder).toStdString(), ignored);
}

} // namespace

std::unique_ptr<TemporaryRoot> TemporaryRoot::make(const QString &temporaryFolder)
{
    const QString path = temporaryFolder + u'/' + kPrefix + log::newUuidText();
    std::unique_ptr<TemporaryRoot> root(new TemporaryRoot(path));
    return QDir().mkpath(root->extractedFolder()) ? std::move(root) : nullptr;
}

void TemporaryRoot::sweep(const QString &temporaryFolder)
{
    const QDir folder(temporaryFolder);
    for (const QString &name : folder.entryList({kPrefix + u'*'}, QDir::Dirs | QDir::NoDotAndDotDot)) {
        removeWithContents(folder.filePath(name));
    }
}

TemporaryRoot::~TemporaryRoot()
{
    removeWithContents(m_path);
}

QString TemporaryRoot::extractedFolder() const
{
    return m_path + QStringLiteral("/extracted");
}

QString TemporaryRoot::inputFile(const QString &extension) const
{
    return m_path + QStringLiteral("/input.") + extension;
}

QString TemporaryRoot::nextCopy(const QByteArray &path)
{
    // The extension is what the file store keeps of a name.
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    const qsizetype point = name.lastIndexOf('.');
    const QByteArray extension = point > 0 ? name.mid(point) : QByteArray();
    const bool isKept = QFile::encodeName(QFile::decodeName(extension)) == extension;
    return m_path + u'/' + QString::number(++m_copies) + (isKept ? QFile::decodeName(extension) : QString());
}

} // namespace gateway::receive
