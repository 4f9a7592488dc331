-- SPDX-FileCopyrightText: 2026 The obrim developers
-- SPDX-License-Identifier: GPL-2.0-or-later
--
-- Version 1 of an installation's tables. Run inside one transaction by whoever is to own them.
-- docs/postgresql.md explains them to those who read and write them with other tools.

CREATE SCHEMA obrim;

CREATE TABLE obrim.installation(version integer NOT NULL);
INSERT INTO obrim.installation VALUES (0);

CREATE TABLE obrim.sensor(
    id integer GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    name text NOT NULL,                     -- of any length, so that no index can keep it unique: register_sensor does
    type integer NOT NULL DEFAULT 0,        -- 1 analyser, 2 converter, 3 receiver
    description text NOT NULL DEFAULT '',
    state text NOT NULL DEFAULT 'running' CHECK (state IN ('running', 'stopped', 'killed')),
    keep_alive timestamptz,                 -- the last heartbeat, NULL: never sent one
    last_message timestamptz,               -- newest time of its events and heartbeats
    last_command integer NOT NULL DEFAULT 0 -- identifier of the last command that the sensor has read
);
CREATE INDEX sensor_by_name ON obrim.sensor USING hash(name);

-- The highest identifier ever given. Whoever stores locks its row until the transaction ends: so
-- identifiers become visible in ascending order, and nobody who asks for what is above the highest
-- one that he has seen ever misses one.
CREATE TABLE obrim.newest(
    kind text PRIMARY KEY,                  -- event or command
    id integer NOT NULL DEFAULT 0,
    room bigint NOT NULL DEFAULT 0          -- below this identifier there are partitions
) WITH (fillfactor = 10);
INSERT INTO obrim.newest(kind) VALUES ('event'), ('command');

-- What programs that write have put last: a put that is tried again, as its answer was lost, is stored once.
CREATE TABLE obrim.writer(
    id uuid PRIMARY KEY,
    number bigint NOT NULL,                 -- of its last put
    first integer NOT NULL,                 -- identifier that this put was given
    used timestamptz NOT NULL
) WITH (fillfactor = 10);

-- Events and commands are stored alike. All that most rows have in common is one row of the series table.
CREATE TABLE obrim.event_series(
    id integer PRIMARY KEY,
    message_type integer NOT NULL,
    sensor_type integer NOT NULL,
    sensor text,
    name text,
    sensor_id integer REFERENCES obrim.sensor
);
CREATE TABLE obrim.event(
    id integer PRIMARY KEY,
    series integer NOT NULL,
    time timestamptz NOT NULL,
    params json
) PARTITION BY RANGE (id);
CREATE TABLE obrim.command_series(
    id integer PRIMARY KEY,
    message_type integer NOT NULL,
    command_type integer NOT NULL,          -- 1 Start, 2 Stop, 3 Restart, 4 Kill
    sensor text
);
CREATE TABLE obrim.command(
    id integer PRIMARY KEY,
    series integer NOT NULL,
    time timestamptz NOT NULL,
    params json
) PARTITION BY RANGE (id);

-- One index finds the rows of a series by identifier: it serves every filter but time. Zone maps, for zones of
-- 2^10 identifiers (level 0) and the partitions of 2^20 (level 1), know between which times their rows lie;
-- the other index finds the rows of a zone at a time, as zones say little where clocks differ.
CREATE INDEX event_by_series ON obrim.event(series, id);
CREATE INDEX event_by_time ON obrim.event((id >> 10), time);
CREATE INDEX command_by_series ON obrim.command(series, id);
CREATE INDEX command_by_time ON obrim.command((id >> 10), time);
CREATE TABLE obrim.event_zone(
    level smallint NOT NULL,
    block integer NOT NULL,                 -- id >> 10, id >> 20
    earliest timestamptz NOT NULL,
    latest timestamptz NOT NULL,
    PRIMARY KEY (level, block)
) WITH (fillfactor = 50);
CREATE TABLE obrim.command_zone(LIKE obrim.event_zone INCLUDING ALL) WITH (fillfactor = 50);

CREATE VIEW obrim.events AS
    SELECT e.id, e.time, s.sensor, s.name, e.params, s.message_type, s.sensor_type
    FROM obrim.event e JOIN obrim.event_series s ON s.id = e.series;
CREATE VIEW obrim.commands AS
    SELECT c.id, c.time, s.sensor,
           CASE s.command_type WHEN 1 THEN 'Start' WHEN 2 THEN 'Stop' WHEN 3 THEN 'Restart' WHEN 4 THEN 'Kill'
                               ELSE s.command_type::text END AS command,
           c.params, s.message_type
    FROM obrim.command c JOIN obrim.command_series s ON s.id = c.series;
CREATE VIEW obrim.sensors AS
    SELECT name, CASE type WHEN 1 THEN 'analyser' WHEN 2 THEN 'converter' WHEN 3 THEN 'receiver'
                           ELSE type::text END AS type,
           description, state, keep_alive, last_message
    FROM obrim.sensor;

-- What writes is a function, which runs with the rights of the tables' owner: so its caller needs none on
-- them, and cannot give identifiers out of order. Each takes the one place of a writer first, which it
-- keeps up to the end of the transaction; so no two can wait for each other.

CREATE FUNCTION obrim.start_writing() RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
BEGIN
    PERFORM FROM obrim.newest WHERE newest.kind = 'event' FOR UPDATE;
END $$;

-- The number of a kind of event, which is added when it is new, with its sensor.
CREATE FUNCTION obrim.event_series_of(message_type integer, sensor_type integer, sensor text, name text) RETURNS integer
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    found_id integer;
    owner_id integer;
BEGIN
    PERFORM obrim.start_writing();
    SELECT s.id INTO found_id FROM obrim.event_series s
    WHERE (s.message_type, s.sensor_type) = ($1, $2)
        AND s.sensor IS NOT DISTINCT FROM $3 AND s.name IS NOT DISTINCT FROM $4;
    IF NOT FOUND THEN
        IF sensor <> '' THEN
            SELECT s.id INTO owner_id FROM obrim.sensor s WHERE s.name = $3;
            IF NOT FOUND THEN
                -- Commands that came before it were meant for another of its name.
                INSERT INTO obrim.sensor(name, type, last_command)
                SELECT $3, $2, n.id FROM obrim.newest n WHERE n.kind = 'command'
                RETURNING id INTO owner_id;
            END IF;
        END IF;
        INSERT INTO obrim.event_series
        SELECT coalesce(max(s.id), 0) + 1, $1, $2, $3, $4, owner_id FROM obrim.event_series s
        RETURNING id INTO found_id;
    END IF;
    RETURN found_id;
END $$;

CREATE FUNCTION obrim.command_series_of(message_type integer, command_type integer, sensor text) RETURNS integer
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    found_id integer;
BEGIN
    PERFORM FROM obrim.newest WHERE newest.kind = 'command' FOR UPDATE;
    SELECT s.id INTO found_id FROM obrim.command_series s
    WHERE (s.message_type, s.command_type) = ($1, $2) AND s.sensor IS NOT DISTINCT FROM $3;
    IF NOT FOUND THEN
        INSERT INTO obrim.command_series
        SELECT coalesce(max(s.id), 0) + 1, $1, $2, $3 FROM obrim.command_series s
        RETURNING id INTO found_id;
    END IF;
    RETURN found_id;
END $$;

-- Makes the partitions that identifiers need.
CREATE FUNCTION obrim.make_room(kind text, lowest bigint, highest bigint) RETURNS void
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    top CONSTANT bigint := 2147483647 >> 20;
    part text;
BEGIN
    FOR block IN lowest >> 20 .. highest >> 20 LOOP
        part := format('obrim.%I', kind || '_' || block);
        CONTINUE WHEN to_regclass(part) IS NOT NULL;
        EXECUTE format('CREATE TABLE %s (LIKE obrim.%I INCLUDING DEFAULTS)', part, kind);
        -- Unlike CREATE TABLE ... PARTITION OF this stops neither readers nor writers.
        EXECUTE format('ALTER TABLE obrim.%I ATTACH PARTITION %s FOR VALUES FROM (%s) TO (%s)', kind, part,
                       block << 20, CASE WHEN block = top THEN 'MAXVALUE' ELSE ((block + 1) << 20)::text END);
    END LOOP;
    UPDATE obrim.newest SET room = ((highest >> 20) + 1) << 20 WHERE newest.kind = make_room.kind;
END $$;

-- Takes identifiers for a put, with the lock on them, and remembers it; NULL when it was stored before. Only
-- for functions that have set search_path: to set it again would be a tenth of what a put costs.
CREATE FUNCTION obrim.take_identifiers(kind text, writer uuid, number bigint, count integer) RETURNS integer
LANGUAGE plpgsql AS $$
DECLARE
    last bigint;
    room bigint;
BEGIN
    UPDATE obrim.newest n SET id = n.id + count WHERE n.kind = $1 AND n.id <= 2147483647 - count
    RETURNING n.id, n.room INTO last, room;
    IF NOT FOUND THEN
        PERFORM FROM obrim.newest n WHERE n.kind = $1 FOR UPDATE;
        IF EXISTS (SELECT FROM obrim.writer w WHERE w.id = $2 AND w.number >= $3) THEN
            RETURN NULL;
        END IF;
        RAISE 'all identifiers are used up';
    END IF;
    UPDATE obrim.writer w SET number = $3, first = last - count + 1, used = now() WHERE w.id = $2 AND w.number < $3;
    IF NOT FOUND THEN
        INSERT INTO obrim.writer VALUES (writer, number, last - count + 1, now()) ON CONFLICT DO NOTHING;
        IF NOT FOUND THEN
            UPDATE obrim.newest n SET id = n.id - count WHERE n.kind = $1;
            RETURN NULL;
        END IF;
        DELETE FROM obrim.writer w WHERE w.used < now() - interval '30 days';
    END IF;
    IF last >= room THEN
        PERFORM obrim.make_room(kind, last - count + 1, last);
    END IF;
    RETURN last - count + 1;
END $$;

-- Stores events and returns the first identifier; the others follow it. `number` grows with each put of a writer.
CREATE FUNCTION obrim.put_events(writer uuid, number bigint, series integer[], times timestamptz[], params json[])
RETURNS integer
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    first integer := obrim.take_identifiers('event', writer, number, cardinality(series));
BEGIN
    IF first IS NULL THEN
        RETURN (SELECT w.first FROM obrim.writer w WHERE w.id = writer);
    END IF;
    -- What sensors report comes one by one, for which the statements for many take longer.
    IF array_dims(series) = '[1:1]' AND array_dims(times) = '[1:1]' AND array_dims(params) = '[1:1]' THEN
        INSERT INTO obrim.event VALUES (first, series[1], times[1], params[1]);
        -- Most come at a time that their zone and their sensor know. The times of a zone of level 1 include
        -- those of its zones of level 0.
        IF NOT EXISTS (
            SELECT FROM obrim.event_zone z, obrim.event_series e JOIN obrim.sensor s ON s.id = e.sensor_id
            WHERE (z.level, z.block) = (0, first >> 10) AND times[1] BETWEEN z.earliest AND z.latest
                AND e.id = series[1] AND s.last_message >= times[1]
        ) THEN
            INSERT INTO obrim.event_zone AS z
            VALUES (0, first >> 10, times[1], times[1]), (1, first >> 20, times[1], times[1])
            ON CONFLICT (level, block) DO UPDATE
                SET earliest = least(z.earliest, excluded.earliest), latest = greatest(z.latest, excluded.latest)
                WHERE excluded.earliest < z.earliest OR excluded.latest > z.latest;
            UPDATE obrim.sensor s SET last_message = times[1]
            WHERE s.id = (SELECT e.sensor_id FROM obrim.event_series e WHERE e.id = series[1])
                AND (s.last_message < times[1] OR s.last_message IS NULL);
        END IF;
        RETURN first;
    END IF;
    INSERT INTO obrim.event
    SELECT first - 1 + row.place, row.series, row.time, row.params
    FROM unnest(series, times, params) WITH ORDINALITY AS row(series, time, params, place);
    INSERT INTO obrim.event_zone AS z
    SELECT v.level, (first - 1 + row.place::integer) >> v.shift, min(row.time), max(row.time)
    FROM unnest(times) WITH ORDINALITY AS row(time, place), (VALUES (0, 10), (1, 20)) AS v(level, shift)
    GROUP BY 1, 2
    ON CONFLICT (level, block) DO UPDATE
        SET earliest = least(z.earliest, excluded.earliest), latest = greatest(z.latest, excluded.latest)
        WHERE excluded.earliest < z.earliest OR excluded.latest > z.latest;
    UPDATE obrim.sensor s SET last_message = m.latest
    FROM (
        SELECT e.sensor_id, max(row.time) AS latest
        FROM unnest(series, times) AS row(series, time) JOIN obrim.event_series e ON e.id = row.series
        GROUP BY e.sensor_id
    ) AS m
    WHERE s.id = m.sensor_id AND (s.last_message < m.latest OR s.last_message IS NULL);
    RETURN first;
END $$;

CREATE FUNCTION obrim.put_command(writer uuid, number bigint, series integer, "time" timestamptz, params json)
RETURNS integer
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    taken integer := obrim.take_identifiers('command', writer, number, 1);
BEGIN
    IF taken IS NULL THEN
        RETURN (SELECT w.first FROM obrim.writer w WHERE w.id = writer);
    END IF;
    INSERT INTO obrim.command VALUES (taken, $3, $4, $5);
    INSERT INTO obrim.command_zone AS z VALUES (0, taken >> 10, $4, $4), (1, taken >> 20, $4, $4)
    ON CONFLICT (level, block) DO UPDATE
        SET earliest = least(z.earliest, excluded.earliest), latest = greatest(z.latest, excluded.latest);
    RETURN taken;
END $$;

-- Adds a sensor, or changes the one of that name. One that is added has read the commands up to now.
CREATE FUNCTION obrim.register_sensor(name text, type integer, description text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
BEGIN
    PERFORM obrim.start_writing();
    UPDATE obrim.sensor s SET type = $2, description = $3 WHERE s.name = $1;
    IF NOT FOUND THEN
        INSERT INTO obrim.sensor(name, type, description, last_command)
        SELECT $1, $2, $3, n.id FROM obrim.newest n WHERE n.kind = 'command';
    END IF;
END $$;

-- Notes a heartbeat of sensors.
CREATE FUNCTION obrim.keep_alive(names text[], "time" timestamptz) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
BEGIN
    PERFORM obrim.start_writing();
    UPDATE obrim.sensor s SET keep_alive = $2, last_message = greatest(s.last_message, $2) WHERE s.name = ANY ($1);
END $$;

CREATE FUNCTION obrim.set_state(name text, state text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
BEGIN
    PERFORM obrim.start_writing();
    UPDATE obrim.sensor s SET state = $2 WHERE s.name = $1;
END $$;

-- Notes that sensors have read the commands up to this identifier, and returns how many had not before.
CREATE FUNCTION obrim.read_commands(names text[], upto integer) RETURNS integer
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    changed integer;
BEGIN
    PERFORM obrim.start_writing();
    UPDATE obrim.sensor s SET last_command = $2 WHERE s.name = ANY ($1) AND s.last_command < $2;
    GET DIAGNOSTICS changed = ROW_COUNT;
    RETURN changed;
END $$;

-- Drops the partitions of "event" or "command" of which every row is older, and returns how many. The newest
-- stays. Readers and writers wait for a moment, and it waits for them: at most as long as lock_timeout says.
CREATE FUNCTION obrim.thin_out(kind text, before timestamptz) RETURNS integer
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    part integer;
    dropped integer := 0;
BEGIN
    PERFORM FROM obrim.newest WHERE newest.kind = $1 FOR UPDATE;
    IF NOT FOUND THEN
        RAISE 'there is nothing of the kind "%"', kind;
    END IF;
    EXECUTE format('LOCK TABLE obrim.%I IN ACCESS EXCLUSIVE MODE', kind);
    FOR part IN EXECUTE format(
        'SELECT block FROM obrim.%I WHERE level = 1 AND latest < $1
         AND block < (SELECT id >> 20 FROM obrim.newest WHERE kind = $2)', kind || '_zone') USING before, kind
    LOOP
        EXECUTE format('DROP TABLE obrim.%I', kind || '_' || part);
        EXECUTE format('DELETE FROM obrim.%I WHERE level = 1 AND block = $1 OR level = 0 AND block >> 10 = $1',
                       kind || '_zone') USING part;
        dropped := dropped + 1;
    END LOOP;
    RETURN dropped;
END $$;

REVOKE ALL ON ALL FUNCTIONS IN SCHEMA obrim FROM PUBLIC;
