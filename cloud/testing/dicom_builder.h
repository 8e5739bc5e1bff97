#pragma once

#include <QtCore/QByteArray>

#include <cstdint>

namespace gateway::cloud::testing {

/// Writes DICOM data sets element by element, correct ones and broken ones.
///
/// Owner: a test. Thread: one at a time.
class DatasetBuilder
{
public:
    /// \param implicit  leaves the value representations out.
    /// \param bigEndian  of tags and lengths; values are taken as they are.
    explicit DatasetBuilder(bool implicit = false, bool bigEndian = false)
        : m_implicit(implicit), m_bigEndian(bigEndian)
    {
    }

    /// An element of which the length is right; odd values are padded.
    DatasetBuilder &add(std::uint32_t tag, const char *vr, QByteArray value);

    /// An element's head, for whatever value follows.
    DatasetBuilder &head(std::uint32_t tag, const char *vr, std::uint32_t length);

    /// An item or a delimiter: tag and length alone.
    DatasetBuilder &mark(std::uint32_t tag, std::uint32_t length);

    DatasetBuilder &raw(const QByteArray &bytes);

    QByteArray bytes() const { return m_bytes; }

private:
    void number16(std::uint16_t value);
    void number32(std::uint32_t value);

    bool m_implicit;
    bool m_bigEndian;
    QByteArray m_bytes;
};

/// What sampleFile() shall carry.
///
/// Thread: any; a value.
struct Sample
{
    QByteArray studyUid = "1.2.3";
    QByteArray seriesUid = "1.2.3.1";
    QByteArray sopInstanceUid = "1.2.3.1.1";
    QByteArray transferSyntaxUid = "1.2.840.10008.1.2.1";
    QByteArray patientName = "Doe^Jane";
    QByteArray patientId = "P1";
    QByteArray studyDate = "20240315";
    QByteArray modality = "CT";
    QByteArray characterSet = "ISO_IR 100";
    QByteArray pixels = QByteArray(512, '\x2a');
};

/// Preamble, prefix and meta information.
QByteArray fileHead(const QByteArray &transferSyntaxUid, const QByteArray &sopInstanceUid);

/// A small CT-like file.
QByteArray sampleFile(const Sample &sample = {});

/// A sample whose SOP instance UID ends with `number`.
Sample sampleNumber(int number);

/// A multipart/related body of DICOM parts, with kBoundary.
QByteArray multipartBody(const QList<QByteArray> &files);

inline constexpr const char *kBoundary = "sample-boundary";
inline constexpr const char *kMultipartType =
    "multipart/related; type=\"application/dicom\"; boundary=sample-boundary";

} // namespace gateway::cloud::testing
