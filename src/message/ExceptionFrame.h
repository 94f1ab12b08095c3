#pragma once

#include "message/AtlException.h"
#include "zelapi/zelapi.h"

#include <cstdint>
#include <utility>

/// Runs `body` and turns whatever leaves it into a result code: a thrown 32-bit code as it is, a CAtlException as its
/// HRESULT, anything else as ZEL_E_FAIL. The frame of every export, handler operation and thread operation.
template <typename Body>
std::uint32_t ResultOf(Body&& body) noexcept
{
    try
    {
        return std::forward<Body>(body)();
    }
    catch (std::uint32_t code)
    {
        return code;
    }
    catch (const CAtlException& failure)
    {
        return static_cast<std::uint32_t>(failure.m_hr);
    }
    catch (...)
    {
        return ZEL_E_FAIL;
    }
}

/// Throws a result code the way the library does it, as an unsigned 32-bit value.
[[noreturn]] inline void ThrowCode(std::uint32_t code)
{
    throw code;
}
