#include "com/Variant.h"

#include <algorithm>
#include <new>

namespace vorlansim
{

std::u16string_view ToView(BSTR text)
{
    static_assert(sizeof(OLECHAR) == sizeof(char16_t));
    const void* units = text;
    return {static_cast<const char16_t*>(units), SysStringLen(text)};
}

std::optional<Bytes> ReadBytes(const VARIANT& variant)
{
    if ((variant.vt & ~VT_BYREF) != (VT_ARRAY | VT_UI1))
        return std::nullopt;
    SAFEARRAY* array = (variant.vt & VT_BYREF) != 0 ? *variant.pparray : variant.parray;
    void* data = nullptr;
    if (array == nullptr || SafeArrayGetDim(array) != 1 || FAILED(SafeArrayAccessData(array, &data)))
        return std::nullopt;
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    Bytes result(bytes, bytes + array->rgsabound[0].cElements);
    SafeArrayUnaccessData(array);
    return result;
}

CVariant::CVariant(BytesView bytes)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    if (array == nullptr)
        throw std::bad_alloc();
    m_variant.vt = VT_ARRAY | VT_UI1;
    m_variant.parray = array;
    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(array, &data)))
        return;
    std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(data));
    SafeArrayUnaccessData(array);
}

void CVariant::MoveTo(VARIANT& target)
{
    VariantClear(&target);
    target = m_variant;
    m_variant = {};
}

}  // namespace vorlansim
