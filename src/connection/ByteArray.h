#pragma once

#include "message/Platform.h"

#include <cstddef>
#include <cstdint>

/// A VARIANT that holds an array of bytes, or nothing.
class CByteArrayVariant
{
  public:
    CByteArrayVariant() { VariantInit(&m_variant); }
    CByteArrayVariant(const CByteArrayVariant&) = delete;
    CByteArrayVariant& operator=(const CByteArrayVariant&) = delete;
    ~CByteArrayVariant() { VariantClear(&m_variant); }

    /// Makes an array of `count` bytes and returns where they go. Null if there is no memory for it; then it holds
    /// nothing.
    std::uint8_t* Allocate(std::size_t count);

    VARIANT* Get() { return &m_variant; }
    const VARIANT& Value() const { return m_variant; }

  private:
    VARIANT m_variant;
};

/// A view of the bytes in a VARIANT; empty if it holds anything else. Valid while the VARIANT is.
class CByteArrayView
{
  public:
    explicit CByteArrayView(const VARIANT* variant);

    const std::uint8_t* Data() const { return m_data; }
    std::size_t Size() const { return m_size; }

  private:
    const std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
};
