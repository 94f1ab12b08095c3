#pragma once

#include "scenario/Text.h"

#include <windows.h>

#include <oleauto.h>

namespace vorlansim
{

/// The text of a BSTR, which may be null.
std::u16string_view ToView(BSTR text);

/// The bytes of a VT_ARRAY | VT_UI1; nothing for any other VARIANT.
std::optional<Bytes> ReadBytes(const VARIANT& variant);

/// Owns a VARIANT that holds a byte array.
class CVariant
{
  public:
    /// Throws std::bad_alloc.
    explicit CVariant(BytesView bytes);
    ~CVariant() { VariantClear(&m_variant); }
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;

    VARIANT* Get() { return &m_variant; }
    /// Replaces the content of `target`.
    void MoveTo(VARIANT& target);

  private:
    VARIANT m_variant{};
};

}  // namespace vorlansim
