-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database's tables are not as this program makes them
PRAGMA writable_schema = ON;
DROP INDEX event_by_time;
CREATE INDEX event_by_time ON event(id >> 8, abs(time));
UPDATE sqlite_schema SET sql = 'CREATE INDEX event_by_time ON event(id >> 8, length(printf(''%.*c'', 100000000, time)))'
WHERE name = 'event_by_time';
PRAGMA schema_version = 1000;
