-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database's tables are not as this program makes them
ALTER TABLE event_series RENAME TO foreign_series;
CREATE VIEW event_series AS
    SELECT id, 1 AS message_type, 1 AS sensor_type, NULL AS sensor, NULL AS name FROM (WITH RECURSIVE n(id) AS (SELECT 1 UNION ALL SELECT id + 1 FROM n) SELECT id FROM n);
