// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "deleting.h"

#include "filling.h"
#include "output.h"
#include "paging.h"
#include "translation.h"

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
} // namespace

template <class Record> void deleteRecords(const Source &source, const DeleteOptions &options, Output &output)
{
    const Pager<Record> pager(source, {});
    const auto isThere = [&](int id) { return pager.first({id, id}, 1).size() > 0; };
    const char *missing = translated(forKind<Record>(translatable("there is no event %1; nothing was deleted"),
                                                     translatable("there is no command %1; nothing was deleted")));
    const char *kept =
        translated(forKind<Record>(translatable("event %1 was not deleted: the DB library still gives it"),
                                   translatable("command %1 was not deleted: the DB library still gives it")));
    const char *deleted =
        translated(forKind<Record>(translatable("event %1 deleted"), translatable("command %1 deleted")));
    const std::set<int> ids(options.ids.begin(), options.ids.end());
    for (const int id : ids)
        if (!isThere(id))
            throw Failure(filled(missing, id));
    for (const int id : ids) {
        remove(source, id, static_cast<const Record *>(nullptr));
        if (isThere(id))
            throw Failure(filled(kept, id));
        output.write(filled(deleted, id) + "\n");
    }
}

template void deleteRecords<CMessageEvent>(const Source &, const DeleteOptions &, Output &);
template void deleteRecords<CMessageCommand>(const Source &, const DeleteOptions &, Output &);
