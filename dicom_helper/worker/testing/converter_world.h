#pragma once

#include "dicom_helper/worker/converter.h"
#include "dicom_helper/worker/jpeg_ls_codec.h"
#include "dicom_helper/worker/object_header.h"
#include "dicom_helper/worker/testing/sample_object.h"
#include "dicom_helper/worker/toolkit_object.h"

#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

namespace gateway::dicom_helper::worker::testing {

/// The codec with a fault that the test puts in.
class FaultyCodec final : public FrameCodec
{
public:
    std::optional<std::size_t>
    encode(const FrameShape &shape, std::span<const std::byte> frame, std::span<std::byte> encoded) override
    {
        if (refuses) {
            throw CodecError("refused");
        }
        std::vector<std::byte> changed(frame.begin(), frame.end());
        if (shape.bytes() > 100 && frameCount++ == faultyFrame) {
            changed[100] ^= std::byte{1};
        }
        return m_codec.encode(shape, changed, encoded);
    }

    bool carries(const FrameShape &shape,
                 std::span<const std::byte> frame,
                 std::span<const std::byte> fragment) override
    {
        whileChecked();
        return m_codec.carries(shape, frame, fragment);
    }

    int faultyFrame = -1;
    bool refuses = false;
    std::function<void()> whileChecked = [] {};

private:
    JpegLsCodec m_codec;
    int frameCount = 0;
};

/// A conversion from a file to a file, by a codec that the test may break.
///
/// Owner: a test. Thread: main.
class ConverterTest : public ::testing::Test
{
protected:
    ConverterTest() { prepareToolkit(); }

    std::string path(const char *name) const
    {
        return m_folder.filePath(QString::fromLatin1(name)).toStdString();
    }

    platform::dicom_protocol::Record converted(std::string_view bytes)
    {
        writeFile(path("source"), bytes);
        return Converter(m_codec).convert(path("source"), path("output"));
    }

    bool isConverted(const platform::dicom_protocol::Record &record) const
    {
        return record.word == "converted" && record.text("path") == path("output");
    }

    bool nothingToConvert(const platform::dicom_protocol::Record &record) const
    {
        return record.word == "converted" && record.text("path") == path("source") && !hasOutput();
    }

    bool hasOutput() const { return QFile::exists(QString::fromStdString(path("output"))); }

    /// The pixel data that the toolkit's own tool decodes from the output, as little endian bytes.
    std::string decodedByTheToolkit(const char *planar = "+pr")
    {
        const QStringList arguments{QString::fromLatin1(planar),
                                    QStringLiteral("+te"),
                                    QString::fromStdString(path("output")),
                                    QString::fromStdString(path("decoded"))};
        if (QProcess::execute(QStringLiteral("dcmdjpls"), arguments) != 0) {
            ADD_FAILURE() << "the toolkit refuses the output";
            return {};
        }
        auto source = DicomSource::open(path("decoded"));
        const ObjectHeader header = readHeader(*source);
        return source->dataset().text(header.pixelData->valueOffset, header.pixelData->length);
    }

    QTemporaryDir m_folder;
    FaultyCodec m_codec;
};

} // namespace gateway::dicom_helper::worker::testing
