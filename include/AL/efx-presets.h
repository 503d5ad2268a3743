#ifndef AL_EFX_PRESETS_H
#define AL_EFX_PRESETS_H

/* Rooms for the reverb of EFX: values for all parameters of AL_EFFECT_EAXREVERB, under the names by which
 * they are published. For games, in C99 and C++:
 *
 *     EFXEAXREVERBPROPERTIES room = EFX_REVERB_PRESET_CONCERTHALL;
 *     alEffectf(effect, AL_EAXREVERB_DENSITY, room.flDensity);
 *
 * Gains are linear, times and delays in seconds, references in Hz, the air's absorption a gain per metre. */

typedef struct EFXEAXREVERBPROPERTIES {
    float flDensity;
    float flDiffusion;
    float flGain;
    float flGainHF;
    float flGainLF;
    float flDecayTime;
    float flDecayHFRatio;
    float flDecayLFRatio;
    float flReflectionsGain;
    float flReflectionsDelay;
    float flReflectionsPan[3];
    float flLateReverbGain;
    float flLateReverbDelay;
    float flLateReverbPan[3];
    float flEchoTime;
    float flEchoDepth;
    float flModulationTime;
    float flModulationDepth;
    float flAirAbsorptionGainHF;
    float flHFReference;
    float flLFReference;
    float flRoomRolloffFactor;
    int iDecayHFLimit;
} EFXEAXREVERBPROPERTIES, *LPEFXEAXREVERBPROPERTIES;

/* In the order of the fields. First line: density, diffusion, the three gains. Second: decay time, its ratios
 * at high and low frequencies; gain, delay and pan of the reflections. Third: gain, delay and pan of the late
 * reverb; echo. Fourth: modulation, air absorption, references, rolloff, limit. */

/* clang-format off */
#define EFX_REVERB_PRESET_GENERIC { \
    1.0f, 1.0f, 0.3162f, 0.8913f, 1.0f, \
    1.49f, 0.83f, 1.0f, 0.05f, 0.007f, { 0.0f, 0.0f, 0.0f }, \
    1.2589f, 0.011f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_PADDEDCELL { \
    0.1715f, 1.0f, 0.3162f, 0.001f, 1.0f, \
    0.17f, 0.1f, 1.0f, 0.25f, 0.001f, { 0.0f, 0.0f, 0.0f }, \
    1.2691f, 0.002f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_ROOM { \
    0.4287f, 1.0f, 0.3162f, 0.5929f, 1.0f, \
    0.4f, 0.83f, 1.0f, 0.1503f, 0.002f, { 0.0f, 0.0f, 0.0f }, \
    1.0629f, 0.003f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_BATHROOM { \
    0.1715f, 1.0f, 0.3162f, 0.2512f, 1.0f, \
    1.49f, 0.54f, 1.0f, 0.6531f, 0.007f, { 0.0f, 0.0f, 0.0f }, \
    3.2734f, 0.011f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_LIVINGROOM { \
    0.9766f, 1.0f, 0.3162f, 0.001f, 1.0f, \
    0.5f, 0.1f, 1.0f, 0.2051f, 0.003f, { 0.0f, 0.0f, 0.0f }, \
    0.2805f, 0.004f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_STONEROOM { \
    1.0f, 1.0f, 0.3162f, 0.7079f, 1.0f, \
    2.31f, 0.64f, 1.0f, 0.4411f, 0.012f, { 0.0f, 0.0f, 0.0f }, \
    1.1003f, 0.017f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_AUDITORIUM { \
    1.0f, 1.0f, 0.3162f, 0.5781f, 1.0f, \
    4.32f, 0.59f, 1.0f, 0.4032f, 0.02f, { 0.0f, 0.0f, 0.0f }, \
    0.717f, 0.03f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_CONCERTHALL { \
    1.0f, 1.0f, 0.3162f, 0.5623f, 1.0f, \
    3.92f, 0.7f, 1.0f, 0.2427f, 0.02f, { 0.0f, 0.0f, 0.0f }, \
    0.9977f, 0.029f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_CAVE { \
    1.0f, 1.0f, 0.3162f, 1.0f, 1.0f, \
    2.91f, 1.3f, 1.0f, 0.5f, 0.015f, { 0.0f, 0.0f, 0.0f }, \
    0.7063f, 0.022f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x0 }
#define EFX_REVERB_PRESET_ARENA { \
    1.0f, 1.0f, 0.3162f, 0.4477f, 1.0f, \
    7.24f, 0.33f, 1.0f, 0.2612f, 0.02f, { 0.0f, 0.0f, 0.0f }, \
    1.0186f, 0.03f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_HANGAR { \
    1.0f, 1.0f, 0.3162f, 0.3162f, 1.0f, \
    10.05f, 0.23f, 1.0f, 0.5f, 0.02f, { 0.0f, 0.0f, 0.0f }, \
    1.256f, 0.03f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_CARPETEDHALLWAY { \
    0.4287f, 1.0f, 0.3162f, 0.01f, 1.0f, \
    0.3f, 0.1f, 1.0f, 0.1215f, 0.002f, { 0.0f, 0.0f, 0.0f }, \
    0.1531f, 0.03f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_HALLWAY { \
    0.3645f, 1.0f, 0.3162f, 0.7079f, 1.0f, \
    1.49f, 0.59f, 1.0f, 0.2458f, 0.007f, { 0.0f, 0.0f, 0.0f }, \
    1.6615f, 0.011f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_STONECORRIDOR { \
    1.0f, 1.0f, 0.3162f, 0.7612f, 1.0f, \
    2.7f, 0.79f, 1.0f, 0.2472f, 0.013f, { 0.0f, 0.0f, 0.0f }, \
    1.5758f, 0.02f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_ALLEY { \
    1.0f, 0.3f, 0.3162f, 0.7328f, 1.0f, \
    1.49f, 0.86f, 1.0f, 0.25f, 0.007f, { 0.0f, 0.0f, 0.0f }, \
    0.9954f, 0.011f, { 0.0f, 0.0f, 0.0f }, 0.125f, 0.95f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_FOREST { \
    1.0f, 0.3f, 0.3162f, 0.0224f, 1.0f, \
    1.49f, 0.54f, 1.0f, 0.0525f, 0.162f, { 0.0f, 0.0f, 0.0f }, \
    0.7682f, 0.088f, { 0.0f, 0.0f, 0.0f }, 0.125f, 1.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_CITY { \
    1.0f, 0.5f, 0.3162f, 0.3981f, 1.0f, \
    1.49f, 0.67f, 1.0f, 0.073f, 0.007f, { 0.0f, 0.0f, 0.0f }, \
    0.1427f, 0.011f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_MOUNTAINS { \
    1.0f, 0.27f, 0.3162f, 0.0562f, 1.0f, \
    1.49f, 0.21f, 1.0f, 0.0407f, 0.3f, { 0.0f, 0.0f, 0.0f }, \
    0.1919f, 0.1f, { 0.0f, 0.0f, 0.0f }, 0.25f, 1.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x0 }
#define EFX_REVERB_PRESET_QUARRY { \
    1.0f, 1.0f, 0.3162f, 0.3162f, 1.0f, \
    1.49f, 0.83f, 1.0f, 0.0f, 0.061f, { 0.0f, 0.0f, 0.0f }, \
    1.7783f, 0.025f, { 0.0f, 0.0f, 0.0f }, 0.125f, 0.7f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_PLAIN { \
    1.0f, 0.21f, 0.3162f, 0.1f, 1.0f, \
    1.49f, 0.5f, 1.0f, 0.0585f, 0.179f, { 0.0f, 0.0f, 0.0f }, \
    0.1089f, 0.1f, { 0.0f, 0.0f, 0.0f }, 0.25f, 1.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_PARKINGLOT { \
    1.0f, 1.0f, 0.3162f, 1.0f, 1.0f, \
    1.65f, 1.5f, 1.0f, 0.2082f, 0.008f, { 0.0f, 0.0f, 0.0f }, \
    0.2652f, 0.012f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x0 }
#define EFX_REVERB_PRESET_SEWERPIPE { \
    0.3071f, 0.8f, 0.3162f, 0.3162f, 1.0f, \
    2.81f, 0.14f, 1.0f, 1.6387f, 0.014f, { 0.0f, 0.0f, 0.0f }, \
    3.2471f, 0.021f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_UNDERWATER { \
    0.3645f, 1.0f, 0.3162f, 0.01f, 1.0f, \
    1.49f, 0.1f, 1.0f, 0.5963f, 0.007f, { 0.0f, 0.0f, 0.0f }, \
    7.0795f, 0.011f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    1.18f, 0.348f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_DRUGGED { \
    0.4287f, 0.5f, 0.3162f, 1.0f, 1.0f, \
    8.39f, 1.39f, 1.0f, 0.876f, 0.002f, { 0.0f, 0.0f, 0.0f }, \
    3.1081f, 0.03f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 1.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x0 }
#define EFX_REVERB_PRESET_DIZZY { \
    0.3645f, 0.6f, 0.3162f, 0.631f, 1.0f, \
    17.23f, 0.56f, 1.0f, 0.1392f, 0.02f, { 0.0f, 0.0f, 0.0f }, \
    0.4937f, 0.03f, { 0.0f, 0.0f, 0.0f }, 0.25f, 1.0f, \
    0.81f, 0.31f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x0 }
#define EFX_REVERB_PRESET_PSYCHOTIC { \
    0.0625f, 0.5f, 0.3162f, 0.8404f, 1.0f, \
    7.56f, 0.91f, 1.0f, 0.4864f, 0.02f, { 0.0f, 0.0f, 0.0f }, \
    2.4378f, 0.03f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    4.0f, 1.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x0 }
#define EFX_REVERB_PRESET_CASTLE_HALL { \
    1.0f, 0.81f, 0.3162f, 0.2818f, 0.1778f, \
    3.14f, 0.79f, 0.62f, 0.1778f, 0.056f, { 0.0f, 0.0f, 0.0f }, \
    1.122f, 0.024f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5168.6f, 139.5f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_CASTLE_COURTYARD { \
    1.0f, 0.42f, 0.3162f, 0.4467f, 0.1995f, \
    2.13f, 0.61f, 0.23f, 0.2239f, 0.16f, { 0.0f, 0.0f, 0.0f }, \
    0.7079f, 0.036f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.37f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x0 }
#define EFX_REVERB_PRESET_FACTORY_HALL { \
    0.4287f, 0.75f, 0.3162f, 0.7079f, 0.631f, \
    7.43f, 0.51f, 1.31f, 0.0631f, 0.073f, { 0.0f, 0.0f, 0.0f }, \
    0.8913f, 0.027f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 3762.6f, 362.5f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_ICEPALACE_HALL { \
    1.0f, 0.76f, 0.3162f, 0.4467f, 0.5623f, \
    5.49f, 1.53f, 0.38f, 0.1122f, 0.054f, { 0.0f, 0.0f, 0.0f }, \
    0.631f, 0.052f, { 0.0f, 0.0f, 0.0f }, 0.226f, 0.11f, \
    0.25f, 0.0f, 0.9943f, 12428.5f, 99.6f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_SPACESTATION_HALL { \
    0.4287f, 0.87f, 0.3162f, 0.7079f, 0.1585f, \
    7.11f, 0.38f, 0.61f, 0.1778f, 0.1f, { 0.0f, 0.0f, 0.0f }, \
    0.631f, 0.047f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.25f, \
    0.25f, 0.0f, 0.9943f, 3316.1f, 458.2f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_SPORT_EMPTYSTADIUM { \
    1.0f, 1.0f, 0.3162f, 0.4467f, 0.7943f, \
    6.26f, 0.51f, 1.1f, 0.0631f, 0.183f, { 0.0f, 0.0f, 0.0f }, \
    0.3981f, 0.038f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_DOME_SAINTPAULS { \
    1.0f, 0.87f, 0.3162f, 0.3548f, 0.2239f, \
    10.48f, 0.19f, 0.1f, 0.1778f, 0.09f, { 0.0f, 0.0f, 0.0f }, \
    1.2589f, 0.042f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.12f, \
    0.25f, 0.0f, 0.9943f, 2854.4f, 20.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_MOOD_HEAVEN { \
    1.0f, 0.94f, 0.3162f, 0.7943f, 0.4467f, \
    5.04f, 1.12f, 0.56f, 0.2427f, 0.02f, { 0.0f, 0.0f, 0.0f }, \
    1.2589f, 0.029f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.08f, \
    2.742f, 0.05f, 0.9977f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_CHAPEL { \
    1.0f, 0.84f, 0.3162f, 0.5623f, 1.0f, \
    4.62f, 0.64f, 1.23f, 0.4467f, 0.032f, { 0.0f, 0.0f, 0.0f }, \
    0.7943f, 0.049f, { 0.0f, 0.0f, 0.0f }, 0.25f, 0.0f, \
    0.25f, 0.11f, 0.9943f, 5000.0f, 250.0f, 0.0f, 0x1 }
#define EFX_REVERB_PRESET_DRIVING_TUNNEL { \
    1.0f, 0.81f, 0.3162f, 0.3981f, 0.8913f, \
    3.42f, 0.94f, 1.31f, 0.7079f, 0.051f, { 0.0f, 0.0f, 0.0f }, \
    0.7079f, 0.047f, { 0.0f, 0.0f, 0.0f }, 0.214f, 0.05f, \
    0.25f, 0.0f, 0.9943f, 5000.0f, 155.3f, 0.0f, 0x1 }
/* clang-format on */

#endif
