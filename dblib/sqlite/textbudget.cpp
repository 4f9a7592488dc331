// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "textbudget.h"

#include "sqlite.h"

void Sqlite::TextBudget::askFile()
{
    m_allowed = std::uint64_t(m_db.number("PRAGMA page_count") * m_db.number("PRAGMA page_size"));
    if (m_spent > m_allowed)
        throw Error(m_db.path(), "the database is corrupt: there is more text in it than room");
}
