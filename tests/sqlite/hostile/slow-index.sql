-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database holds a foreign index with an expression
PRAGMA writable_schema = ON;
CREATE INDEX foreign_length ON event(length(params));
UPDATE sqlite_schema SET sql = 'CREATE INDEX foreign_length ON event(length(hex(zeroblob(400000000)) || params))'
WHERE name = 'foreign_length';
PRAGMA schema_version = 1000;
