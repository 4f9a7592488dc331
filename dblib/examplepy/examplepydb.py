# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: BSD-2-Clause
#
# A complete DB library in Python: one sensor, and records that are kept in
# memory, the first of them an event that tells of the start. An exception
# becomes the result -1, with its traceback on standard error.
import time

from dblib import ffi, lib

started = int(time.time())


def set_text(record, field, text):
    length = ffi.addressof(record, "L" + field)  # the NUL is counted
    if lib.obrimSetText(ffi.addressof(record, field), length, text.encode("latin-1", "replace")) != 0:
        raise MemoryError


def give(n, array, records, kind):
    """Gives out copies, which come back in the release."""
    if not records:
        return
    array[0] = getattr(lib, f"obrimNew{kind}s")(len(records))
    for i, record in enumerate(records):
        if not array[0] or getattr(lib, f"obrimCopy{kind}")(array[0] + i, record) != 0:
            getattr(lib, f"obrimFree{kind}s")(array)
            raise MemoryError
    n[0] = len(records)


class Table:
    """Records by ascending identifier, which is never used twice, also after a delete."""

    def __init__(self, kind, identifier):
        self.kind = kind
        self.identifier = identifier
        self.records = []
        self.last = 0

    def new(self):
        clear = getattr(lib, f"obrimClear{self.kind}")
        return ffi.gc(ffi.new(f"CMessage{self.kind} *"), clear)

    def add(self, record):
        """Keeps a copy: the record is the console's."""
        kept = self.new()
        if getattr(lib, f"obrimCopy{self.kind}")(kept, record) != 0:
            raise MemoryError
        self.last += 1
        setattr(kept, self.identifier, self.last)
        self.records.append(kept)

    def delete(self, identifier):
        self.records = [kept for kept in self.records if getattr(kept, self.identifier) != identifier]

    def give(self, n, array, request):
        """The first that match, oldest first; or the last, newest first, but where the console asks for what is new."""
        first = request.TakeFirst1_Last0
        selects = getattr(lib, f"obrimSelects{self.kind}")
        wanted = []
        for record in self.records if first else reversed(self.records):
            if len(wanted) >= request.NMax:
                break
            if selects(request, record):
                wanted.append(record)
        if not first and getattr(request, f"Use{self.identifier}0"):
            wanted.reverse()
        give(n, array, wanted, self.kind)


events = Table("Event", "MessageID")
commands = Table("Command", "CommandID")


@ffi.def_extern(error=-1)
def FInitDBSensors(config_dir):
    return 0  # your own settings belong into that directory


@ffi.def_extern(error=-1)
def FInitDBEvents(config_dir):
    if events.last == 0:  # initialisation may come again
        event = events.new()
        event.MessageType = event.SensorType = 1
        event.EventTime = started
        set_text(event, "SensorID", "example")
        set_text(event, "EventName", "started")
        events.add(event)
    return 0


@ffi.def_extern(error=-1)
def FInitDBCommands(config_dir):
    return 0


@ffi.def_extern(error=-1)
def FDBGetSensors(n, array):
    if not array:
        return lib.SensorSize
    if not n:
        lib.obrimFreeSensors(array)
        return 0
    sensor = ffi.gc(ffi.new("CSensor *"), lib.obrimClearSensor)
    sensor.SensorType = 1
    sensor.MessageType = lib.SensorAlive
    sensor.EventTime = started
    set_text(sensor, "SensorID", "example")
    set_text(sensor, "Description", "Example")
    give(n, array, [sensor], "Sensor")
    return 0


@ffi.def_extern(error=-1)
def FDBGetEvents(n, array, request):
    if not array:
        return lib.EventSizes
    if n:
        events.give(n, array, request)
    else:
        lib.obrimFreeEvents(array)
    return 0


@ffi.def_extern(error=-1)
def FDBGetCommands(n, array, request):
    if not array:
        return lib.CommandSizes
    if n:
        commands.give(n, array, request)
    else:
        lib.obrimFreeCommands(array)
    return 0


@ffi.def_extern(error=-1)
def FDBPutCommand(command):
    commands.add(command)
    return 0


@ffi.def_extern(error=-1)
def FDBPutEvent(event):
    events.add(event)
    return 0


@ffi.def_extern(error=-1)
def FDBDeleteCommand(identifier):
    commands.delete(identifier)
    return 0


@ffi.def_extern(error=-1)
def FDBDeleteEvent(identifier):
    events.delete(identifier)
    return 0
