#pragma once

#include <ntddk.h>

/// A name that is put together from parts. What does not fit is left out, and the name then matches nothing.
class DriverName
{
public:
    DriverName() = default;
    DriverName(const DriverName &) = delete;
    DriverName &operator=(const DriverName &) = delete;

    DriverName &add(const UNICODE_STRING &part)
    {
        RtlAppendUnicodeStringToString(&m_text, const_cast<UNICODE_STRING *>(&part));
        return *this;
    }

    DriverName &add(const WCHAR *part)
    {
        RtlAppendUnicodeToString(&m_text, part);
        return *this;
    }

    UNICODE_STRING *text() { return &m_text; }

    /// What an object is opened or made by under this name.
    OBJECT_ATTRIBUTES attributes(ULONG flags)
    {
        OBJECT_ATTRIBUTES attributes;
        InitializeObjectAttributes(&attributes, &m_text, flags, nullptr, nullptr);
        return attributes;
    }

private:
    WCHAR m_units[400];
    UNICODE_STRING m_text = {0, sizeof(m_units), m_units};
};
