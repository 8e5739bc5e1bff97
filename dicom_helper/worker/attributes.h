#pragma once

#include "dicom_helper/worker/element_scanner.h"

namespace gateway::dicom_helper::worker {

// The attributes that the jobs read, by the standard's keywords (PS3.6).

inline constexpr Tag kSpecificCharacterSet = 0x00080005U;
inline constexpr Tag kSopClassUid = 0x00080016U;
inline constexpr Tag kSopInstanceUid = 0x00080018U;
inline constexpr Tag kStudyDate = 0x00080020U;
inline constexpr Tag kStudyTime = 0x00080030U;
inline constexpr Tag kAccessionNumber = 0x00080050U;
inline constexpr Tag kModality = 0x00080060U;
inline constexpr Tag kInstitutionName = 0x00080080U;
inline constexpr Tag kReferringPhysicianName = 0x00080090U;
inline constexpr Tag kTimezoneOffsetFromUtc = 0x00080201U;
inline constexpr Tag kStudyDescription = 0x00081030U;
inline constexpr Tag kSeriesDescription = 0x0008103EU;
inline constexpr Tag kPerformingPhysicianName = 0x00081050U;
inline constexpr Tag kPatientName = 0x00100010U;
inline constexpr Tag kPatientId = 0x00100020U;
inline constexpr Tag kIssuerOfPatientId = 0x00100021U;
inline constexpr Tag kStudyInstanceUid = 0x0020000DU;
inline constexpr Tag kSeriesInstanceUid = 0x0020000EU;
inline constexpr Tag kSeriesNumber = 0x00200011U;
inline constexpr Tag kInstanceNumber = 0x00200013U;
inline constexpr Tag kImagePositionPatient = 0x00200032U;
inline constexpr Tag kImageOrientationPatient = 0x00200037U;
inline constexpr Tag kSliceLocation = 0x00201041U;
inline constexpr Tag kImageComments = 0x00204000U;
inline constexpr Tag kSamplesPerPixel = 0x00280002U;
inline constexpr Tag kPhotometricInterpretation = 0x00280004U;
inline constexpr Tag kPlanarConfiguration = 0x00280006U;
inline constexpr Tag kNumberOfFrames = 0x00280008U;
inline constexpr Tag kRows = 0x00280010U;
inline constexpr Tag kColumns = 0x00280011U;
inline constexpr Tag kBitsAllocated = 0x00280100U;
inline constexpr Tag kBitsStored = 0x00280101U;
inline constexpr Tag kHighBit = 0x00280102U;
inline constexpr Tag kPixelRepresentation = 0x00280103U;
inline constexpr Tag kWindowCenter = 0x00281050U;
inline constexpr Tag kWindowWidth = 0x00281051U;
inline constexpr Tag kPixelDataProviderUrl = 0x00287FE0U;
inline constexpr Tag kSharedFunctionalGroupsSequence = 0x52009229U;
inline constexpr Tag kPerFrameFunctionalGroupsSequence = 0x52009230U;
inline constexpr Tag kDataSetTrailingPadding = 0xFFFCFFFCU;

} // namespace gateway::dicom_helper::worker
