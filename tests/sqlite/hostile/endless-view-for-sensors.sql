-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database's tables are not as this program makes them
DROP TABLE sensor;
CREATE VIEW sensor AS
    SELECT id, 's' AS name, 1 AS type, '' AS description, '' AS state, 1 AS keep_alive, 1 AS last_message,
           1 AS last_command FROM (WITH RECURSIVE n(id) AS (SELECT 1 UNION ALL SELECT id + 1 FROM n) SELECT id FROM n) WHERE id < 0;
