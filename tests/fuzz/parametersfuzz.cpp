// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Parameters as a database keeps them, from arbitrary bytes: quicker and deeper
// than through whole database files.
#include "fuzztarget.h"

#include "Messages.h"
#include "arena.h"
#include "parameters.h"

#include <string_view>

namespace
{
void check(const CMessageEventParam &parameter)
{
    const auto isText = [](const char *text, int length) {
        return length > 0 && std::memchr(text, '\0', std::size_t(length)) == text + length - 1;
    };
    require(!parameter.Name || isText(parameter.Name, parameter.LName), "a name ends with its only NUL");
    require(parameter.LVal >= 0 && (parameter.Val || parameter.LVal == 0), "a value is there");
    const CMessageEventParam copy(parameter);
    require(copy.LVal == parameter.LVal, "a copy has the value's length");
}

/** Reads and writes; a further time, nothing may change any more. */
std::string normalised(std::string_view stored)
{
    static ParameterReader reader;
    static ParameterWriter writer;
    Arena arena;
    int count = -1;
    const CMessageEventParam *parameters = reader.read(arena, stored, count);
    require(count >= 0 && (parameters || count == 0), "the count is that of the array");
    for (int i = 0; i < count; ++i) {
        check(parameters[i]);
        writer.add(parameters[i]);
    }
    return std::string(writer.finish());
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string once = normalised({reinterpret_cast<const char *>(data), size});
    require(normalised(once) == once, "what was written is read as it was");
    return 0;
}
