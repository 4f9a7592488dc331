-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
--
-- Three roles for those who use an installation's tables. Run by the owner of the tables, who may make
-- roles, once the tables are there; again after an update:
--
--     psql --single-transaction -v ON_ERROR_STOP=1 -d plant -f roles.sql
--
-- Then give them to the users of the server: GRANT obrim_operators TO anna;

DO $$
DECLARE
    wanted name;
BEGIN
    FOREACH wanted IN ARRAY ARRAY['obrim_viewers', 'obrim_operators', 'obrim_sensors'] LOOP
        IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = wanted) THEN
            EXECUTE format('CREATE ROLE %I NOLOGIN', wanted);
        END IF;
    END LOOP;
END $$;

-- A database that was restored without its rights would let everybody call everything.
REVOKE ALL ON ALL FUNCTIONS IN SCHEMA obrim FROM PUBLIC;

-- All three see the tables and the sensors, and sensors their commands.
GRANT USAGE ON SCHEMA obrim TO obrim_viewers, obrim_operators, obrim_sensors;
GRANT SELECT ON ALL TABLES IN SCHEMA obrim TO obrim_viewers, obrim_operators;
REVOKE SELECT ON obrim.writer FROM obrim_viewers, obrim_operators;
GRANT SELECT ON obrim.installation, obrim.newest, obrim.sensor, obrim.event_series, obrim.event_zone,
    obrim.command, obrim.command_series, obrim.command_zone TO obrim_sensors;

-- Operators give commands and delete.
GRANT EXECUTE ON FUNCTION obrim.start_writing(), obrim.command_series_of(integer, integer, text),
    obrim.put_command(uuid, bigint, integer, timestamptz, json) TO obrim_operators;
GRANT DELETE ON obrim.event, obrim.command TO obrim_operators;

-- Sensors report, send heartbeats and note what they have read and done.
GRANT EXECUTE ON FUNCTION obrim.start_writing(), obrim.event_series_of(integer, integer, text, text),
    obrim.put_events(uuid, bigint, integer[], timestamptz[], json[]), obrim.register_sensor(text, integer, text),
    obrim.keep_alive(text[], timestamptz), obrim.set_state(text, text), obrim.read_commands(text[], integer)
    TO obrim_sensors;
