#pragma once

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/element_scanner.h"
#include "dicom_helper/worker/file_layout.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::dicom_helper::worker::testing {

/// Writes elements one after another in any of the encodings, right or wrong as the test likes.
class DatasetWriter
{
public:
    explicit DatasetWriter(DatasetEncoding encoding = {}) : m_encoding(encoding) {}

    DatasetWriter &raw(Tag tag, Vr representation, std::string_view value);
    DatasetWriter &text(Tag tag, std::string_view representation, std::string value);
    DatasetWriter &number(Tag tag, std::uint16_t value);

    /// The header alone, with any length.
    DatasetWriter &header(Tag tag, Vr representation, std::uint32_t length);

    /// A sequence of one item that holds `items`' bytes; of undefined length where so wanted.
    DatasetWriter &sequence(Tag tag, const DatasetWriter &item, bool undefinedLength);

    /// A sequence of such items.
    DatasetWriter &items(Tag tag, const std::vector<std::string> &items, bool undefinedLength);

    /// Encapsulated pixel data with an empty offset table.
    DatasetWriter &fragments(const std::vector<std::string> &fragments);

    DatasetWriter &bytes(std::string_view any);

    const std::string &all() const { return m_bytes; }

private:
    void put(std::uint32_t value, unsigned width);
    void putTag(Tag tag);

    DatasetEncoding m_encoding;
    std::string m_bytes;
};

/// An image, as far as the tests vary it.
struct SampleImage
{
    std::string transferSyntax = std::string(kExplicitLittleEndian);
    std::string sopInstance = "1.2.3.4.5";
    std::string photometric = "MONOCHROME2";
    std::uint16_t columns = 64;
    std::uint16_t rows = 48;
    std::uint16_t samples = 1;
    std::uint16_t planar = 0;
    std::uint16_t allocated = 16;
    std::uint16_t stored = 12;
    std::uint16_t highBit = 11;
    std::uint16_t sign = 0;
    int frames = 1;
    std::string pixels; ///< as they stand in the file; made by somePixels() where empty
};

/// Smooth shapes and a little noise, within the bits that are stored; signed values are sign-extended.
std::string somePixels(const SampleImage &image);

/// The dataset of such an image, in the encoding of its transfer syntax, deflated where that says so.
std::string datasetOf(const SampleImage &image);

/// A whole file: preamble, prefix, meta information and the dataset's bytes.
std::string part10(std::string_view transferSyntax,
                   std::string_view dataset,
                   std::string_view sopInstance = "1.2.3.4.5",
                   std::string_view sopClass = "1.2.840.10008.5.1.4.1.1.2");

std::string fileOf(const SampleImage &image);

std::string deflated(std::string_view bytes);

DatasetEncoding encodingOf(std::string_view transferSyntax);

void writeFile(const std::string &path, std::string_view bytes);
std::string readFile(const std::string &path);

} // namespace gateway::dicom_helper::worker::testing
