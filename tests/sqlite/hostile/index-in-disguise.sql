-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database is corrupt
PRAGMA writable_schema = ON;
CREATE INDEX foreign_length ON event(length(params));
UPDATE sqlite_schema SET type = 'table', name = 'note', tbl_name = 'note' WHERE name = 'foreign_length';
PRAGMA schema_version = 1000;
