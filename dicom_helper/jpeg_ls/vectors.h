#pragma once

#include <cstdint>
#include <cstring>

// What takes or returns vectors is always inlined, so how they would be passed doesn't matter.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace gateway::dicom_helper::jpeg_ls {

/// Vectors of so many bytes: the compiler's own type, which it turns into what the target has.
template <int Bytes>
struct Vectors;

template <>
struct Vectors<16>
{
    using I16 [[gnu::vector_size(16)]] = std::int16_t;
    using U16 [[gnu::vector_size(16)]] = std::uint16_t;
    using I32 [[gnu::vector_size(16)]] = std::int32_t;
    using U32 [[gnu::vector_size(16)]] = std::uint32_t;
    using F32 [[gnu::vector_size(16)]] = float;
    using HalfU16 [[gnu::vector_size(8)]] = std::uint16_t; // as many as U32 has
};

template <>
struct Vectors<32>
{
    using I16 [[gnu::vector_size(32)]] = std::int16_t;
    using U16 [[gnu::vector_size(32)]] = std::uint16_t;
    using I32 [[gnu::vector_size(32)]] = std::int32_t;
    using U32 [[gnu::vector_size(32)]] = std::uint32_t;
    using F32 [[gnu::vector_size(32)]] = float;
    using HalfU16 [[gnu::vector_size(16)]] = std::uint16_t;
};

/// What comes from memory, at any address.
template <typename V>
[[gnu::always_inline]] inline V loaded(const void *from)
{
    V value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <typename V>
[[gnu::always_inline]] inline void stored(void *to, const V &value)
{
    std::memcpy(to, &value, sizeof value);
}

} // namespace gateway::dicom_helper::jpeg_ls
