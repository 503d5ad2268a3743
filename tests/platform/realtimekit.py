#!/usr/bin/python3
"""Stands in for RealtimeKit on the bus of DBUS_SYSTEM_BUS_ADDRESS: realtimekit.py BEHAVIOUR

Raises threads as the service does, where it has the right to, and refuses a process without the limit that the
service asks for. BEHAVIOUR is what it grants: "all", "nice" and no real-time level, "nothing", or "silence", which
answers no call. Prints a line for each request: its kind, the thread, and the level.
"""
import os
import re
import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

NAME = 'org.freedesktop.RealtimeKit1'
PROPERTIES = {'MaxRealtimePriority': dbus.Int32(20), 'MinNiceLevel': dbus.Int32(-15), 'RTTimeUSecMax': dbus.Int64(200000)}


class Refusal(dbus.DBusException):
    _dbus_error_name = 'org.freedesktop.DBus.Error.AccessDenied'


class Service(dbus.service.Object):
    def __init__(self, bus, grants):
        super().__init__(bus, '/org/freedesktop/RealtimeKit1')
        self.bus, self.grants = bus, grants

    def hard_limit(self, sender):
        process = self.bus.call_blocking('org.freedesktop.DBus', '/org/freedesktop/DBus', 'org.freedesktop.DBus',
                                         'GetConnectionUnixProcessID', 's', (sender,))
        with open(f'/proc/{process}/limits', encoding='ascii') as limits:
            return re.search(r'Max realtime timeout +\S+ +(\S+)', limits.read()).group(1)

    @dbus.service.method(NAME, in_signature='tu', out_signature='', sender_keyword='sender', async_callbacks=('done', 'fail'))
    def MakeThreadRealtime(self, thread, priority, done, fail, sender=None):
        print('realtime', thread, priority, flush=True)
        limit = self.hard_limit(sender)
        if self.grants == 'silence':
            return
        if self.grants != 'all' or not limit.isdigit() or int(limit) > PROPERTIES['RTTimeUSecMax']:
            fail(Refusal('No.'))
            return
        os.sched_setscheduler(int(thread), os.SCHED_RR | os.SCHED_RESET_ON_FORK, os.sched_param(int(priority)))
        done()

    @dbus.service.method(NAME, in_signature='ti', out_signature='', async_callbacks=('done', 'fail'))
    def MakeThreadHighPriority(self, thread, priority, done, fail):
        print('nice', thread, priority, flush=True)
        if self.grants == 'silence':
            return
        if self.grants == 'nothing':
            fail(Refusal('No.'))
            return
        os.setpriority(os.PRIO_PROCESS, int(thread), int(priority))
        done()

    @dbus.service.method('org.freedesktop.DBus.Properties', in_signature='ss', out_signature='v',
                         async_callbacks=('done', 'fail'))
    def Get(self, interface, name, done, fail):
        if self.grants == 'silence':
            return
        if interface == NAME and name in PROPERTIES:
            done(PROPERTIES[name])
        else:
            fail(Refusal('No such property.'))


DBusGMainLoop(set_as_default=True)
connection = dbus.SystemBus()
service = Service(connection, sys.argv[1])
owned = dbus.service.BusName(NAME, connection)
print('ready', flush=True)
GLib.MainLoop().run()
