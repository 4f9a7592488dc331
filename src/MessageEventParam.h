// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <obrim/recordcodes.h>

class QString;

/**
 * One named, typed parameter of an event or a command.
 *
 * Both buffers are owned (array new, array delete). Without a text the pointer
 * is NULL and the length 0.
 */
struct CMessageEventParam {
    int Type = 0;         ///< a ParameterType
    char *Name = nullptr; ///< NUL-terminated name
    int LName = 0;        ///< bytes in Name, the NUL counted
    char *Val = nullptr;  ///< a 4-byte int, an 8-byte double, or NUL-terminated text; unaligned
    int LVal = 0;         ///< bytes in Val

    CMessageEventParam() = default;
    CMessageEventParam(const CMessageEventParam &other);
    ~CMessageEventParam();

    /** Deep copy; copying onto itself changes nothing. Throws std::bad_alloc. */
    CMessageEventParam &operator=(const CMessageEventParam &other);

    /** Releases both buffers and zeroes every field. */
    void clean();

    /**
     * Replaces each buffer by one of its length field + 1 bytes, contents
     * undefined, or by NULL when the length is 0 or less: for a receiver that
     * is told the lengths first. The length fields stay.
     */
    void AllocateStrings();

    /**
     * The value as text; empty without a value, or when a positive LVal is too
     * short for the type. With an LVal of 0 or less the value is there whole,
     * a text up to its NUL.
     */
    QString toString() const;
    /** The same for a record that may be absent: "(null)" for NULL. */
    static QString toString(const CMessageEventParam *param);
};
