#!/usr/bin/env python3
# Copyright (C) 2026 The libgui_talvex_utils Authors
#
# Licensed under the Apache License, Version 2.0 (the "License");
# you may not use this file except in compliance with the License.
# You may obtain a copy of the License at
#
#      http://www.apache.org/licenses/LICENSE-2.0
#
# Unless required by applicable law or agreed to in writing, software
# distributed under the License is distributed on an "AS IS" BASIS,
# WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
# See the License for the specific language governing permissions and
# limitations under the License.

"""Writes the seed corpora of the hook-interface and time-text fuzzers (run from fuzz/).

The hook harness reads its choices with libFuzzer's FuzzedDataProvider, which takes integers
from the end of the input: each seed is written as the choices in reading order, then reversed.
"""
import struct

# Operation numbers and argument tables of hook_interface_fuzzer.cpp.
UPDATE, CLEAR, START, EVENT, EVENT_BY_SURFACE, TIME, ADD_ID, REMOVE_ID = range(8)
REGISTER, SET_FLAG, CLEAR_REGISTRATION, TRIGGER, BLAST_DUMP, TASK, LIMIT, COMPOSITOR = range(8, 16)
LAYER_0, LAYER_1, LAYER_MINUS_1, LAYER_MAX, LAYER_MIN, LAYER_UNKNOWN = range(6)
QUEUE_A, QUEUE_B, QUEUE_NULL, QUEUE_BOGUS = range(4)


class Seed:
    def __init__(self):
        self.choices = bytearray()

    def byte(self, *values):
        self.choices += bytes(values)
        return self

    def int_in(self, value, low, bits):  # ConsumeIntegral of a `bits`-wide type
        self.choices += (value - low).to_bytes(bits // 8, "big")
        return self

    def frame(self, number):
        return self.byte(number if number < 24 else 200)

    def start(self, layer, frame, sync=0, wait=0):
        self.byte(START, layer).frame(frame).byte(sync, wait)
        self.int_in(1, -2**31, 32).int_in(0, -2**31, 32).int_in(0, -2**63, 64)
        return self

    def event(self, layer, frame, frame_type):
        return self.byte(EVENT, layer).frame(frame).byte(frame_type + 128)

    def data(self):
        return bytes(reversed(self.choices))


def frames_past_the_bound():
    s = Seed().byte(UPDATE, LAYER_0, 1, QUEUE_A)
    for n in range(1, 14):
        s.start(LAYER_0, n).event(LAYER_0, n, 0).event(LAYER_0, n, 1)
    s.start(LAYER_0, 5, sync=1).event(LAYER_0, 5, 11).event(LAYER_0, 0, 3).start(LAYER_0, 0)
    return s.byte(EVENT_BY_SURFACE, LAYER_0).frame(13).byte(12 + 128)


def armed_and_disarmed_dumps():
    s = Seed().byte(UPDATE, LAYER_1, 3, QUEUE_B).start(LAYER_1, 1).event(LAYER_1, 1, -1)
    s.byte(TRIGGER, 0).byte(REGISTER, QUEUE_A, 0, 0).byte(TRIGGER, 0).byte(TRIGGER, 0)
    s.byte(SET_FLAG, QUEUE_A, 1).byte(TRIGGER, 0).byte(BLAST_DUMP, 1, 0)
    return s.byte(REGISTER, QUEUE_NULL, 1).byte(CLEAR_REGISTRATION, QUEUE_A).byte(TRIGGER, 0)


def bad_owners_and_extreme_layers():
    s = Seed().byte(UPDATE, LAYER_MAX, 0, QUEUE_NULL).start(LAYER_MAX, 1)
    s.byte(UPDATE, LAYER_MIN, 4, QUEUE_BOGUS).start(LAYER_MIN, 1).event(LAYER_MIN, 1, 9)
    s.byte(CLEAR, LAYER_MIN, QUEUE_A).byte(UPDATE, 5, 2, QUEUE_A)  # null SurfaceControl
    s.start(LAYER_UNKNOWN, 1).byte(EVENT_BY_SURFACE, 5).frame(1).byte(128)
    return s.byte(CLEAR, LAYER_MIN, QUEUE_BOGUS).byte(UPDATE, LAYER_MINUS_1, 1, QUEUE_A)


def callbacks_tasks_and_sizes():
    s = Seed()
    for index in (0, 5, 6, 1):
        s.byte(ADD_ID, index)
    s.byte(REMOVE_ID, 6).byte(REMOVE_ID, 3).byte(TASK, 0).byte(TASK, 0).byte(TASK, 1)
    s.byte(LIMIT, 5, 1, 2, 2, 2, 1, 1).byte(LIMIT, 3, 1, 0, 0, 1, 0, 0)  # mode byte 2: mode 1
    s.byte(COMPOSITOR, 0, LAYER_MIN).byte(COMPOSITOR, 1, LAYER_MAX)
    return s.byte(TIME).int_in(1, -2**63, 64).byte(0).int_in(2**63 - 1, -2**63, 64)


def write_time_seeds():
    pairs = {
        "plus_12ms": (1000000000, 1012345678), "minus_2ms": (1000000000, 997999500),
        "equal": (5, 5), "five_ns": (1, 6), "micros_wrap": (1, 2147483648001),
        "unknown": (100, 0), "widest": (-2**63, 2**63 - 1), "widest_back": (2**63 - 1, -2**63),
    }
    for name, (start, end) in pairs.items():
        with open(f"corpus/time_string/{name}", "wb") as out:
            out.write(struct.pack("<qq", start, end))


for maker in (frames_past_the_bound, armed_and_disarmed_dumps, bad_owners_and_extreme_layers,
              callbacks_tasks_and_sizes):
    with open(f"corpus/hook_interface/{maker.__name__}", "wb") as out:
        out.write(maker().data())
write_time_seeds()
