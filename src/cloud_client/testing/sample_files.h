#pragma once

#include "cloud_client/qrn_stow_api.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUrl>

namespace gateway::cloud_client::testing {

/// One explicit VR little endian element with a length of 16 bits.
QByteArray shortElement(int group, int number, const QByteArray &representation, const QByteArray &value);

/// The start of a DICOM file: preamble, "DICM" and the meta header.
QByteArray metaHeader(const QByteArray &sopInstanceUid,
                      const QByteArray &transferSyntax = "1.2.840.10008.1.2.1");

/// A file by the instance UID in its meta header, which sample files have; without one for any other file.
StowFile identified(const QUrl &url);
QList<StowFile> identified(const QList<QUrl> &urls);

/// Files of one test, in a folder that goes with it.
class SampleFiles
{
public:
    /// A DICOM file with that instance UID and `payload` bytes behind the header.
    QUrl dicom(const QByteArray &sopInstanceUid, qsizetype payload = 1000);

    /// Any file.
    QUrl file(const QString &name, const QByteArray &bytes);

    QString path(const QString &name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
};

} // namespace gateway::cloud_client::testing
