#pragma once

#include "dicom_helper/worker/element_scanner.h"

namespace gateway::dicom_helper::worker {

/// An element and the bytes that hold it. Borrows both.
struct PlacedElement
{
    ByteSource &bytes;
    const Element &element;
    bool bigEndian = false;
};

/// A place in a source. Borrows it.
struct Place
{
    ByteSource &bytes;
    std::uint64_t offset;
};

/// True when the two files are the same from these places on. \throws ReadError
bool sameRest(const Place &one, const Place &other);

/// True when the two have the same value in representations that don't contradict each other, whatever their
/// byte order. Padding at the end of a text says nothing (PS3.5 6.2). For elements that are neither entered
/// nor encapsulated. \throws ReadError
bool sameValue(const PlacedElement &one, const PlacedElement &other);

/// True for the same encapsulated pixel data: each fragment, and the offset tables where both have one, which
/// an archive may drop or add. \throws ReadError
bool sameFragments(const PlacedElement &one, const PlacedElement &other);

} // namespace gateway::dicom_helper::worker
