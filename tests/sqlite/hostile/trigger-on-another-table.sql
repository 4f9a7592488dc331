-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
-- expect: the database holds a foreign trigger or virtual table
CREATE TABLE note(text);
CREATE TRIGGER note_added AFTER INSERT ON note BEGIN DELETE FROM event; END;
