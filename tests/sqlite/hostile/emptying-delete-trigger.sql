-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database holds a foreign trigger or virtual table
CREATE TRIGGER foreign_empty AFTER DELETE ON event BEGIN
    DELETE FROM event;
END;
