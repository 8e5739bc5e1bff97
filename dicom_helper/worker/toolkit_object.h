#pragma once

#include <memory>
#include <stdexcept>
#include <string>

class DcmFileFormat;

namespace gateway::dicom_helper::worker {

/// The toolkit refused something; its own words stay out of the message, since they may quote the file.
class ToolkitError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The attributes of an object without its pixel data, held by the toolkit.
///
/// Owner: a convert job. Thread: the worker's only one. Nothing of a file reaches this class before its
/// nesting was checked, since the toolkit reads and writes sequences by recursion.
class ToolkitObject
{
public:
    /// Reads the file at `path`; large values stay in it until they are written. \throws ToolkitError
    static ToolkitObject load(const std::string &path);

    ToolkitObject(ToolkitObject &&other) noexcept;
    ~ToolkitObject();

    /// Makes it say that it is JPEG-LS lossless: the transfer syntax, colour by pixel where there is
    /// colour, and no group lengths, which are retired and would be wrong. \throws ToolkitError
    void becomeJpegLs();

    /// Writes preamble, meta information and the attributes before the pixel data, explicit little endian,
    /// to the descriptor's position. \throws ToolkitError
    void writeBeforePixels(int descriptor);

    /// Writes what comes after the pixel data. \throws ToolkitError
    void writeAfterPixels(int descriptor);

private:
    enum class Part
    {
        beforePixels,
        afterPixels
    };

    explicit ToolkitObject(std::unique_ptr<DcmFileFormat> file);
    void dropGroupLengthsAndPixels();
    void writePart(int descriptor, Part part);

    std::unique_ptr<DcmFileFormat> m_file;
};

/// Readies the toolkit for a process that shall say nothing and change no value.
void prepareToolkit();

/// Reads the toolkit's dictionary, which it would do with the first object else. Thread: main, the only one.
void loadDictionary();

} // namespace gateway::dicom_helper::worker
