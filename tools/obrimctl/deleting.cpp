// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "deleting.h"

#include "output.h"
#include "paging.h"

#include <set>

namespace
{
void remove(const Source &source, int id, const CMessageEvent *)
{
    source.removeEvent(id);
}

void remove(const Source &source, int id, const CMessageCommand *)
{
    source.removeCommand(id);
}

template <class Record> std::string named(int id)
{
    return std::string(RecordKind<Record>::One) + " " + std::to_string(id);
}
} // namespace

template <class Record> void deleteRecords(const Source &source, const DeleteOptions &options, Output &output)
{
    const Pager<Record> pager(source, {});
    const auto isThere = [&](int id) { return pager.first({id, id}, 1).size() > 0; };
    const std::set<int> ids(options.ids.begin(), options.ids.end());
    for (const int id : ids)
        if (!isThere(id))
            throw Failure("there is no " + named<Record>(id) + "; nothing was deleted");
    for (const int id : ids) {
        remove(source, id, static_cast<const Record *>(nullptr));
        if (isThere(id))
            throw Failure(named<Record>(id) + " was not deleted: the DB library still gives it");
        output.write(named<Record>(id) + " deleted\n");
    }
}

template void deleteRecords<CMessageEvent>(const Source &, const DeleteOptions &, Output &);
template void deleteRecords<CMessageCommand>(const Source &, const DeleteOptions &, Output &);
