-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database holds a foreign index with an expression
PRAGMA writable_schema = ON;
CREATE INDEX foreign_part ON sensor(type) WHERE type > 0;
UPDATE sqlite_schema SET sql = 'CREATE INDEX foreign_part ON sensor(type) WHERE length(hex(zeroblob(400000000)) || type)'
WHERE name = 'foreign_part';
PRAGMA schema_version = 1000;
