-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database holds a foreign trigger or virtual table
DROP TRIGGER event_zone_insert;
CREATE TRIGGER event_zone_insert AFTER INSERT ON event BEGIN SELECT 1; END;
