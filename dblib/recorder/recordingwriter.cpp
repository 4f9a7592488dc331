// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordingwriter.h"

#include "answer.h"
#include "recordingformat.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Recording
{
namespace
{
[[noreturn]] void fail(const std::string &path)
{
    throw std::system_error(errno, std::generic_category(), path);
}

/** Writes into a file at the offsets that it is given. */
class FileSink : public Calls::ByteSink
{
public:
    FileSink(int file, const std::string &path)
        : m_file(file)
        , m_path(path)
    {
    }
    void put(std::uint64_t offset, const char *bytes, std::size_t size) override
    {
        while (size > 0) {
            const ssize_t written = pwrite(m_file, bytes, size, off_t(offset));
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                fail(m_path);
            offset += std::uint64_t(written);
            bytes += written;
            size -= std::size_t(written);
        }
    }

private:
    int m_file;
    const std::string &m_path;
};

template <class Head> bool readAt(int file, std::uint64_t offset, Head &head)
{
    return pread(file, &head, sizeof(head), off_t(offset)) == ssize_t(sizeof(head));
}

std::uint64_t sizeOf(int file, const std::string &path)
{
    struct stat status = {};
    if (fstat(file, &status) != 0)
        fail(path);
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error(path + " is not a regular file");
    return std::uint64_t(status.st_size);
}

FileHead headOf(bool hasTexts)
{
    FileHead head = {{}, Version, std::uint16_t(sizeof(void *) * 8), hasTexts ? 1U : 0U};
    std::memcpy(head.signature, FileSignature, sizeof(FileSignature));
    return head;
}

bool mustComeFirst(Calls::Subject subject)
{
    return Calls::isInitFunction(subject.function) || subject.use == Calls::Use::Query;
}
} // namespace

AnswerBytes wholeAnswer(const std::string &answer)
{
    return {answer.size(),
            [&answer](Calls::ByteSink &sink, std::uint64_t offset) { sink.put(offset, answer.data(), answer.size()); }};
}

Writer::Writer(const std::string &path, std::uint64_t limit, bool hasTexts)
    : m_path(path)
    , m_half(limit / 2)
    , m_hasTexts(hasTexts)
    , m_owner(getpid())
{
    open();
    if (sizeOf(m_file.get(), m_path) == 0)
        begin();
    else if (!goesOn())
        beginNewerHalf();
}

void Writer::write(const Moment &moment, Calls::Subject subject, const std::string &call, const AnswerBytes &answer)
{
    if (getpid() != m_owner)
        return; // a copy of the process that records
    const std::uint64_t size = sizeof(EntryHead) + call.size() + answer.size;
    if (size > m_half - sizeof(FileHead)) {
        append(moment, call, wholeAnswer(Calls::answerMessage(subject, {Calls::Status::TooLarge, -1})));
        return;
    }
    if (m_end + size > m_half && m_end > sizeof(FileHead))
        beginNewerHalf();
    append(moment, call, answer);
    if (mustComeFirst(subject))
        notePreparation(moment, subject, call, answer);
}

void Writer::open()
{
    // Not cut before it is known whose it is.
    m_file.reset(::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666));
    if (m_file.get() < 0)
        fail(m_path);
    if (flock(m_file.get(), LOCK_EX | LOCK_NB) != 0)
        throw std::runtime_error(m_path + ": another program records there");
}

/** Whether the file is a recording of the same kind, which this one then continues. */
bool Writer::goesOn()
{
    FileHead head = {};
    if (!readAt(m_file.get(), 0, head) || std::memcmp(head.signature, FileSignature, sizeof(FileSignature)) != 0)
        throw std::runtime_error(m_path + " is there and is no recording");
    const FileHead own = headOf(m_hasTexts);
    if (std::memcmp(&head, &own, sizeof(head)) != 0)
        return false;
    m_end = endOfCalls();
    if (ftruncate(m_file.get(), off_t(m_end)) != 0)
        fail(m_path);
    return true;
}

/** Where the last whole call ends: a process that was killed may have left a part of one behind it. */
std::uint64_t Writer::endOfCalls() const
{
    const std::uint64_t size = sizeOf(m_file.get(), m_path);
    std::uint64_t end = sizeof(FileHead);
    for (EntryHead head = {}; readAt(m_file.get(), end, head);) {
        const std::uint64_t next = end + sizeof(head) + head.callSize + std::uint64_t(head.answerSize);
        if (std::memcmp(head.signature, EntrySignature, sizeof(EntrySignature)) != 0 || next > size)
            break;
        end = next;
    }
    return end;
}

void Writer::begin()
{
    const FileHead head = headOf(m_hasTexts);
    FileSink(m_file.get(), m_path).put(0, reinterpret_cast<const char *>(&head), sizeof(head));
    m_end = sizeof(head);
}

void Writer::beginNewerHalf()
{
    if (std::rename(m_path.c_str(), olderHalf(m_path).c_str()) != 0)
        fail(m_path);
    open();
    begin();
    for (const Preparation &preparation : m_preparations)
        append(preparation.moment, preparation.call, wholeAnswer(preparation.answer));
}

void Writer::append(const Moment &moment, const std::string &call, const AnswerBytes &answer)
{
    EntryHead head = {{}, std::uint32_t(call.size()), std::uint32_t(answer.size),
                      0,  moment.time.count(),        std::uint64_t(moment.duration.count())};
    std::memcpy(head.signature, EntrySignature, sizeof(EntrySignature));
    FileSink sink(m_file.get(), m_path);
    try {
        sink.put(m_end + sizeof(head), call.data(), call.size());
        answer.write(sink, m_end + sizeof(head) + call.size());
        sink.put(m_end, reinterpret_cast<const char *>(&head), sizeof(head));
    } catch (...) {
        // What is left of it must not stand where the next call will be shorter.
        if (ftruncate(m_file.get(), off_t(m_end)) != 0)
            m_file.reset();
        throw;
    }
    m_end += sizeof(head) + call.size() + answer.size;
}

void Writer::notePreparation(const Moment &moment, Calls::Subject subject, const std::string &call,
                             const AnswerBytes &answer)
{
    Preparation preparation = {moment, subject, call, std::string(std::size_t(answer.size), '\0')};
    Calls::MemorySink sink(preparation.answer.data());
    answer.write(sink, 0);
    const auto isThis = [=](const Preparation &noted) { return noted.subject == subject; };
    m_preparations.erase(std::remove_if(m_preparations.begin(), m_preparations.end(), isThis), m_preparations.end());
    m_preparations.push_back(std::move(preparation));
}
} // namespace Recording
