// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "call.h"
#include "descriptor.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Recording
{
/** The bytes of an answer, which are those of a message, not yet checked. */
struct RecordedAnswer {
    std::vector<char> bytes;
    unsigned bits = 0; ///< word width of the process that recorded it

    std::string_view view() const
    {
        return {bytes.data(), bytes.size()};
    }
};

/** A recording, by its requests. Answers stay in the file until they are asked for. */
class Reader
{
public:
    /**
     * Reads `path` and its older half, if that is there. A last call that is
     * not whole is not there. Throws std::runtime_error that names the file
     * and what is wrong with it.
     */
    explicit Reader(const std::string &path);

    /** How many calls there are. */
    std::size_t count() const
    {
        return m_count;
    }
    /**
     * The next answer to the same request, and the last one again when all
     * were given; nothing for a request that was never made. Throws
     * std::runtime_error when the file can no longer be read.
     */
    std::optional<RecordedAnswer> next(const Calls::Call &call);

private:
    /** One of the two halves. */
    struct File {
        std::string path;
        Descriptor descriptor;
        unsigned bits = 0;
    };
    struct Place {
        const File *file;
        std::uint64_t offset;
        std::uint32_t size;
    };
    struct Answers {
        std::vector<Place> places;
        std::size_t next = 0;
    };

    void readFile(const std::string &path);
    bool isJustBegun(const std::string &path) const;
    void readCalls(const File &file, std::uint64_t size);
    Answers *find(const Calls::Call &call);

    std::vector<std::unique_ptr<File>> m_files;
    std::map<std::string, Answers> m_answers; ///< by the key of the call
    std::size_t m_count = 0;
};
} // namespace Recording
