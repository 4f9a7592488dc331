// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordingreader.h"

#include "callkey.h"
#include "recordingformat.h"
#include "withouttexts.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace Recording
{
namespace
{
/** Fills `size` bytes; false when the file has fewer. */
bool readBytes(int file, std::uint64_t offset, char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t got = pread(file, bytes, size, off_t(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        offset += std::uint64_t(got);
        bytes += got;
        size -= std::size_t(got);
    }
    return true;
}

template <class Head> bool readHead(int file, std::uint64_t offset, Head &head)
{
    return readBytes(file, offset, reinterpret_cast<char *>(&head), sizeof(head));
}

FileHead fileHead(int file, const std::string &path)
{
    FileHead head = {};
    if (!readHead(file, 0, head) || std::memcmp(head.signature, FileSignature, sizeof(FileSignature)) != 0)
        throw std::runtime_error(path + " is no recording");
    if (head.version != Version)
        throw std::runtime_error(path + ": version " + std::to_string(head.version) + ", this program reads " +
                                 std::to_string(Version));
    return head;
}

bool isEmpty(const EntryHead &head)
{
    const EntryHead empty = {};
    return std::memcmp(&head, &empty, sizeof(head)) == 0;
}

std::runtime_error corrupt(const std::string &path, std::uint64_t offset, const std::string &reason)
{
    return std::runtime_error(path + " is corrupt: byte " + std::to_string(offset) + ": " + reason);
}
} // namespace

Reader::Reader(const std::string &path)
{
    if (access(olderHalf(path).c_str(), F_OK) == 0)
        readFile(olderHalf(path));
    if (!isJustBegun(path))
        readFile(path);
}

std::optional<RecordedAnswer> Reader::next(const Calls::Call &call)
{
    Answers *const answers = find(call);
    if (!answers)
        return std::nullopt;
    const Place &place = answers->places[answers->next];
    if (answers->next + 1 < answers->places.size())
        ++answers->next;
    RecordedAnswer answer = {std::vector<char>(place.size), place.file->bits};
    if (!readBytes(place.file->descriptor.get(), place.offset, answer.bytes.data(), place.size))
        throw std::runtime_error(place.file->path + " cannot be read any more");
    return answer;
}

/** Whoever recorded was killed after the older half was put aside, before there was a newer one. */
bool Reader::isJustBegun(const std::string &path) const
{
    struct stat status = {};
    return !m_files.empty() && (stat(path.c_str(), &status) != 0 || status.st_size < off_t(sizeof(FileHead)));
}

void Reader::readFile(const std::string &path)
{
    auto file = std::make_unique<File>();
    file->path = path;
    file->descriptor.reset(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status = {};
    if (file->descriptor.get() < 0 || fstat(file->descriptor.get(), &status) != 0)
        throw std::runtime_error(path + " cannot be read: " + std::strerror(errno));
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error(path + " is not a regular file");
    file->bits = fileHead(file->descriptor.get(), path).bits;
    m_files.push_back(std::move(file));
    readCalls(*m_files.back(), std::uint64_t(status.st_size));
}

void Reader::readCalls(const File &file, std::uint64_t size)
{
    std::uint64_t offset = sizeof(FileHead);
    std::string message;
    for (EntryHead head = {}; readHead(file.descriptor.get(), offset, head) && !isEmpty(head);) {
        if (std::memcmp(head.signature, EntrySignature, sizeof(EntrySignature)) != 0)
            throw corrupt(file.path, offset, "no call begins so");
        const std::uint64_t callAt = offset + sizeof(head);
        const std::uint64_t answerAt = callAt + head.callSize;
        if (head.answerSize > size || answerAt > size - head.answerSize)
            return; // the end was cut off
        message.resize(head.callSize);
        if (!readBytes(file.descriptor.get(), callAt, message.data(), message.size()))
            return;
        try {
            m_answers[keyOf(Calls::readCall(message))].places.push_back({&file, answerAt, head.answerSize});
        } catch (const Calls::CorruptMessage &fault) {
            throw corrupt(file.path, callAt, fault.what());
        }
        ++m_count;
        offset = answerAt + head.answerSize;
    }
}

/** A recording without texts has the request without them. */
Reader::Answers *Reader::find(const Calls::Call &call)
{
    const std::string bytes = Calls::callBytes(call);
    auto found = m_answers.find(keyOf(Calls::readCall(bytes)));
    if (found == m_answers.end())
        found = m_answers.find(keyOf(withoutTexts(Calls::readCall(bytes))));
    return found == m_answers.end() ? nullptr : &found->second;
}
} // namespace Recording
