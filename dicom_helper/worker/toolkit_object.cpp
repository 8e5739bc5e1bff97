#include "dicom_helper/worker/toolkit_object.h"

#include "dicom_helper/implementation.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcostrmf.h>
#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmdata/dcwcache.h>
#include <dcmtk/oflog/oflog.h>
#include <fcntl.h>
#include <unistd.h>

namespace gateway::dicom_helper::worker {

namespace {

/// Larger values are left in the file.
constexpr Uint32 kLongestValueInMemory = 4096;

const DcmTagKey kPixelDataKey(0x7FE0, 0x0010);

void demand(const OFCondition &condition, const char *what)
{
    if (condition.bad()) {
        throw ToolkitError(what);
    }
}

/// A toolkit stream on a copy of a descriptor, at whose position it writes.
class OutputStream
{
public:
    explicit OutputStream(int descriptor) : m_file(openCopy(descriptor)), m_stream(m_file) {}

    DcmOutputStream &operator*() { return m_stream; }

    /// Makes sure that all of it has arrived. \throws ToolkitError
    void finish()
    {
        m_stream.flush();
        demand(m_stream.status(), "the output can't be written");
        if (std::fflush(m_file) != 0) {
            throw ToolkitError("the output can't be written");
        }
    }

private:
    static FILE *openCopy(int descriptor)
    {
        const int copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
        FILE *file = copy < 0 ? nullptr : ::fdopen(copy, "wb");
        if (file == nullptr) {
            throw ToolkitError("the output can't be written");
        }
        return file;
    }

    FILE *m_file; // the stream's, which closes it
    DcmOutputFileStream m_stream;
};

} // namespace

void prepareToolkit()
{
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
    dcmEnableAutomaticInputDataCorrection.set(OFFalse);
    dcmReplaceWrongDelimitationItem.set(OFFalse);
}

void loadDictionary()
{
    dcmDataDict.rdlock(); // loads it
    dcmDataDict.rdunlock();
}

ToolkitObject::ToolkitObject(std::unique_ptr<DcmFileFormat> file) : m_file(std::move(file)) {}

ToolkitObject::ToolkitObject(ToolkitObject &&other) noexcept = default;

ToolkitObject::~ToolkitObject() = default;

ToolkitObject ToolkitObject::load(const std::string &path)
{
    // Without it the attributes of an implicit object would lose their representations.
    if (!dcmDataDict.isDictionaryLoaded()) {
        throw ToolkitError("the toolkit has no data dictionary");
    }
    auto file = std::make_unique<DcmFileFormat>();
    demand(file->loadFile(path.c_str(), EXS_Unknown, EGL_noChange, kLongestValueInMemory),
           "the toolkit can't read the object");
    ToolkitObject object(std::move(file));
    object.dropGroupLengthsAndPixels();
    return object;
}

void ToolkitObject::dropGroupLengthsAndPixels()
{
    DcmDataset &dataset = *m_file->getDataset();
    demand(dataset.computeGroupLengthAndPadding(EGL_withoutGL, EPD_noChange, dataset.getOriginalXfer()),
           "the toolkit can't drop group lengths");
    dataset.findAndDeleteElement(kPixelDataKey);
}

void ToolkitObject::becomeJpegLs()
{
    DcmDataset &dataset = *m_file->getDataset();
    Uint16 samples = 1;
    dataset.findAndGetUint16(DCM_SamplesPerPixel, samples);
    if (samples > 1) {
        // The coded frames say themselves how colours are interleaved (PS3.5 table 8.2.3-1).
        demand(dataset.putAndInsertUint16(DCM_PlanarConfiguration, 0), "the toolkit can't set an attribute");
    }
    DcmMetaInfo &meta = *m_file->getMetaInfo();
    OFCondition made = m_file->validateMetaInfo(EXS_JPEGLSLossless, EWM_updateMeta);
    if (made.good()) {
        made = meta.putAndInsertString(DCM_ImplementationClassUID, kImplementationClassUid);
    }
    if (made.good()) {
        made = meta.putAndInsertString(DCM_ImplementationVersionName, kImplementationVersionName);
    }
    if (made.good()) {
        made = meta.computeGroupLengthAndPadding(EGL_withGL, EPD_noChange, EXS_LittleEndianExplicit);
    }
    demand(made, "the toolkit can't make the meta information");
}

void ToolkitObject::writeBeforePixels(int descriptor)
{
    OutputStream stream(descriptor);
    DcmMetaInfo &meta = *m_file->getMetaInfo();
    DcmWriteCache cache;
    meta.transferInit();
    demand(meta.write(*stream, EXS_LittleEndianExplicit, EET_ExplicitLength, &cache),
           "the toolkit can't write the meta information");
    meta.transferEnd();
    stream.finish();
    writePart(descriptor, Part::beforePixels);
}

void ToolkitObject::writeAfterPixels(int descriptor)
{
    writePart(descriptor, Part::afterPixels);
}

void ToolkitObject::writePart(int descriptor, Part part)
{
    OutputStream stream(descriptor);
    DcmDataset &dataset = *m_file->getDataset();
    for (unsigned long i = 0; i < dataset.card(); ++i) {
        DcmElement &element = *dataset.getElement(i);
        const bool before = element.getTag().getXTag() < kPixelDataKey;
        if (before != (part == Part::beforePixels)) {
            continue;
        }
        DcmWriteCache cache;
        element.transferInit();
        demand(element.write(*stream, EXS_LittleEndianExplicit, EET_ExplicitLength, &cache),
               "the toolkit can't write an attribute");
        element.transferEnd();
    }
    stream.finish();
}

} // namespace gateway::dicom_helper::worker
