// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "translation.h"
#include "writing.h"

namespace
{
/** The identifiers of both kinds before and after a deletion of one of `Kind`. */
template <class Kind> class Deletion
{
public:
    Deletion(const Library &library, int id)
        : m_library(library)
        , m_id(id)
        , m_before(everyId<Kind>(library))
        , m_othersBefore(others())
    {
        remove<Kind>(library, id);
    }

    /** What went that should not have, or stayed; empty when just the record with that identifier is gone. */
    std::string fault() const
    {
        const std::vector<int> gone = difference(m_before, everyId<Kind>(m_library));
        const std::vector<int> othersGone = difference(m_othersBefore, others());
        const std::string deleting = "deleting " + std::to_string(m_id) + " of the " + Kind::Plural;
        if (!othersGone.empty())
            return deleting + " took away " + Other<Kind>::Plural + ", too: " + listed(othersGone);
        const bool wasThere = std::binary_search(m_before.begin(), m_before.end(), m_id);
        const bool isGone = std::binary_search(gone.begin(), gone.end(), m_id);
        if (wasThere && !isGone)
            return std::to_string(m_id) + " is still there after its deletion" +
                   (gone.empty() ? "" : ", and gone instead: " + listed(gone));
        std::vector<int> more = gone;
        more.erase(std::remove(more.begin(), more.end(), m_id), more.end());
        return more.empty()
                   ? std::string()
                   : deleting + (wasThere ? " took away too: " : ", which is not there, took away: ") + listed(more);
    }

private:
    std::vector<int> others() const
    {
        return m_library.has(Other<Kind>::Fetch) ? everyId<Other<Kind>>(m_library) : std::vector<int>();
    }
    static std::vector<int> difference(const std::vector<int> &from, const std::vector<int> &what)
    {
        std::vector<int> rest;
        std::set_difference(from.begin(), from.end(), what.begin(), what.end(), std::back_inserter(rest));
        return rest;
    }

    const Library &m_library;
    int m_id;
    std::vector<int> m_before;
    std::vector<int> m_othersBefore;
};

/** The identifiers that both kinds have; none where an older record must not be touched. */
template <class Kind> std::vector<int> sharedIds(const Library &library, const Target &target)
{
    std::vector<int> shared;
    if (!target.isCopy() || !library.has(Other<Kind>::Fetch))
        return shared;
    const std::vector<int> ids = everyId<Kind>(library);
    const std::vector<int> others = everyId<Other<Kind>>(library);
    std::set_intersection(ids.begin(), ids.end(), others.begin(), others.end(), std::back_inserter(shared));
    return shared;
}

/** Puts records that differ in nothing but their identifiers; these. */
template <class Kind> std::vector<int> putEqualRecords(const Library &library, int number)
{
    constexpr int count = 3;
    std::vector<int> ids;
    Putter<Kind> putter(library);
    for (int i = 0; i < count; ++i) {
        std::mt19937 random(1);
        ids.push_back(Kind::id(putter.put(Kind::sample(number, random))));
    }
    return ids;
}

template <class Kind> Outcome checkDelete(const Target &target)
{
    const Session session(target);
    const Library &library = session.library;
    require<Kind>(library);
    std::string fault;
    for (int number : {1, 2, 9}) {
        const std::vector<int> equal = putEqualRecords<Kind>(library, number);
        for (int id : {equal[1], equal[0]})
            if (fault.empty())
                fault = Deletion<Kind>(library, id).fault();
    }
    const std::vector<int> shared = sharedIds<Kind>(library, target);
    if (fault.empty() && !shared.empty())
        fault = Deletion<Kind>(library, shared.back()).fault();
    return fault.empty() ? passed() : failed(fault);
}

template <class Kind> Outcome checkDeleteUnknown(const Target &target)
{
    const Session session(target);
    const Library &library = session.library;
    require<Kind>(library);
    std::mt19937 random(target.seed);
    const int gone = Kind::id(Putter<Kind>(library).put(Kind::sample(1, random)));
    remove<Kind>(library, gone);
    std::vector<int> unknown = {gone, INT_MAX, INT_MIN, -1};
    const std::vector<int> shared = sharedIds<Kind>(library, target);
    if (!shared.empty()) {
        // From now on one of the other kind's alone.
        remove<Kind>(library, shared.back());
        unknown.push_back(shared.back());
    }
    const std::vector<int> known = everyId<Kind>(library);
    for (int id : unknown) {
        if (std::binary_search(known.begin(), known.end(), id))
            continue;
        const std::string fault = Deletion<Kind>(library, id).fault();
        if (!fault.empty())
            return failed(fault);
    }
    return passed();
}
} // namespace

std::vector<Check> deleteChecks()
{
    const char *const one = translatable("Deleting one row does nothing, or takes others away.");
    return asWriting({
        {"event-delete",
         translatable("a deleted event is gone, and only that one, and no command"),
         one,
         checkDelete<EventKind>,
         {"fill", "event-put", "event-nmax"}},
        {"event-delete-unknown",
         translatable("deleting an event that is not there does nothing"),
         one,
         checkDeleteUnknown<EventKind>,
         {"fill", "event-put", "event-delete", "event-nmax"}},
        {"command-delete",
         translatable("a deleted command is gone, and only that one, and no event"),
         one,
         checkDelete<CommandKind>,
         {"fill", "command-put", "command-nmax"}},
        {"command-delete-unknown",
         translatable("deleting a command that is not there does nothing"),
         one,
         checkDeleteUnknown<CommandKind>,
         {"fill", "command-put", "command-delete", "command-nmax"}},
    });
}
