-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database's tables are not as this program makes them
PRAGMA writable_schema = ON;
UPDATE sqlite_schema SET sql = replace(sql, 'DEFAULT ''''', 'DEFAULT (load_extension(''x''))')
WHERE name = 'event';
PRAGMA schema_version = 1000;
