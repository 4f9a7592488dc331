-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database's tables are not as this program makes them
PRAGMA writable_schema = ON;
UPDATE sqlite_schema SET sql = replace(sql, 'time INTEGER NOT NULL,', 'time INTEGER NOT NULL CHECK (length(replace(hex(zeroblob(400000000)), ''0'', ''1'')) > time),')
WHERE name = 'event';
PRAGMA schema_version = 1000;
