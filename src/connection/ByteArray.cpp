#include "connection/ByteArray.h"

std::uint8_t* CByteArrayVariant::Allocate(std::size_t count)
{
    VariantClear(&m_variant);
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(count));
    if (array == nullptr)
        return nullptr;
    m_variant.vt = VT_ARRAY | VT_UI1;
    m_variant.parray = array;
    return static_cast<std::uint8_t*>(array->pvData);
}

CByteArrayView::CByteArrayView(const VARIANT* variant)
{
    if (!IsReadable(variant) || variant->vt != (VT_ARRAY | VT_UI1) || !IsReadable(variant->parray))
        return;
    const SAFEARRAY& array = *variant->parray;
    if (array.cDims != 1 || array.cbElements != 1 || !IsReadable(array.pvData))
        return;
    m_data = static_cast<const std::uint8_t*>(array.pvData);
    m_size = array.rgsabound[0].cElements;
}
