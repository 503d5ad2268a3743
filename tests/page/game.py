# A game of one looping tone, until its standard input ends: game.py LIBRARY
import array
import ctypes
import math
import sys

al = ctypes.CDLL(sys.argv[1])
for name in ('alcOpenDevice', 'alcCreateContext'):
    getattr(al, name).restype = ctypes.c_void_p
device = ctypes.c_void_p(al.alcOpenDevice(None))
context = ctypes.c_void_p(al.alcCreateContext(device, None))
al.alcMakeContextCurrent(context)

MONO16, BUFFER, LOOPING, POSITION = 0x1101, 0x1009, 0x1007, 0x1004
tone = array.array('h', (int(16000 * math.sin(2 * math.pi * 440 * i / 44100)) for i in range(44100)))
buffer, source = ctypes.c_uint(), ctypes.c_uint()
al.alGenBuffers(1, ctypes.byref(buffer))
al.alBufferData(buffer, MONO16, tone.tobytes(), 2 * len(tone), 44100)
al.alGenSources(1, ctypes.byref(source))
al.alSourcei(source, BUFFER, buffer.value)
al.alSourcei(source, LOOPING, 1)
al.alSource3f(source, POSITION, ctypes.c_float(-2), ctypes.c_float(0), ctypes.c_float(-1))
al.alSourcePlay(source)
sys.stdin.read()
al.alcMakeContextCurrent(None)
al.alcDestroyContext(context)
al.alcCloseDevice(device)
