-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database holds a foreign trigger or virtual table
CREATE TRIGGER foreign_wait AFTER INSERT ON event BEGIN
    DELETE FROM sensor WHERE id IN (WITH RECURSIVE n(id) AS (SELECT 1 UNION ALL SELECT id + 1 FROM n) SELECT id FROM n);
END;
