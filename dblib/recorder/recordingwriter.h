// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bytes.h"
#include "descriptor.h"
#include "message.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Recording
{
/** When a call was made and how long it took. */
struct Moment {
    std::chrono::microseconds time;
    std::chrono::microseconds duration;
};

/** An answer that is written piece by piece, as Calls::FetchAnswer is. */
struct AnswerBytes {
    std::uint64_t size = 0;
    std::function<void(Calls::ByteSink &, std::uint64_t)> write;
};

/** An answer that lies there, and stays there. */
AnswerBytes wholeAnswer(const std::string &answer);

/**
 * Writes calls and their answers to a file, which is whole up to the last call
 * however this process ends. A recording that is there already goes on. When
 * the file reaches half of the limit, it becomes the older half, in the place
 * of the one before, and the newer half begins with the latest
 * initialisations and size queries.
 */
class Writer
{
public:
    /**
     * `limit` in bytes. Throws std::runtime_error with the path and the reason,
     * also when another program records there or the file is no recording.
     */
    Writer(const std::string &path, std::uint64_t limit, bool hasTexts);

    /**
     * An answer that is too large for the limit is told as such in its place.
     * Throws std::system_error and what `answer` throws; nothing of this call
     * is then in the recording.
     */
    void write(const Moment &moment, Calls::Subject subject, const std::string &call, const AnswerBytes &answer);

private:
    struct Preparation {
        Moment moment;
        Calls::Subject subject;
        std::string call;
        std::string answer;
    };

    void open();
    bool goesOn();
    std::uint64_t endOfCalls() const;
    void begin();
    void beginNewerHalf();
    void append(const Moment &moment, const std::string &call, const AnswerBytes &answer);
    void notePreparation(const Moment &moment, Calls::Subject subject, const std::string &call,
                         const AnswerBytes &answer);

    std::string m_path;
    std::uint64_t m_half;
    bool m_hasTexts;
    pid_t m_owner;
    Descriptor m_file;
    std::uint64_t m_end = 0;
    std::vector<Preparation> m_preparations; ///< what a newer half begins with
};
} // namespace Recording
