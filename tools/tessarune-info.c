/* Opens the device as a game does, makes a context, asks everything that can be asked about both, and prints
 * it. Shows at a glance whether a set-up works. Exit code 0 when a context could be made, else 1. */

#include <stdio.h>
#include <string.h>

#define AL_ALEXT_PROTOTYPES 1
#include "AL/tessarune.h"

static void printDeviceNames(const char* title, ALCenum parameter) {
    const ALCchar* name = alcGetString(NULL, parameter);
    printf("%s:", title);
    for (; name != NULL && *name != '\0'; name += strlen(name) + 1)
        printf(" '%s'", name);
    printf("\n");
}

static void printInteger(ALCdevice* device, const char* title, ALCenum parameter, const char* unit) {
    ALCint value = 0;
    alcGetIntegerv(device, parameter, 1, &value);
    printf("%-22s %d%s\n", title, value, unit);
}

static void printAttributes(ALCdevice* device) {
    ALCint size = 0;
    ALCint attributes[64] = {0};
    alcGetIntegerv(device, ALC_ATTRIBUTES_SIZE, 1, &size);
    printf("%-22s %d\n", "Attributes size:", size);
    alcGetIntegerv(device, ALC_ALL_ATTRIBUTES, 64, attributes);
    printf("%-22s", "All attributes:");
    for (const ALCint* pair = attributes; pair[0] != 0; pair += 2)
        printf(" 0x%X=%d", (unsigned)pair[0], pair[1]);
    printf("\n");
}

static void printDevice(ALCdevice* device) {
    ALCint major = 0;
    ALCint minor = 0;
    ALCint patch = 0;
    tsrGetVersion(&major, &minor, &patch);
    printf("%-22s %d.%d.%d\n", "Library version:", (int)major, (int)minor, (int)patch);
    printf("%-22s %s\n", "Device:", alcGetString(device, ALC_DEVICE_SPECIFIER));
    printDeviceNames("Devices", ALC_ALL_DEVICES_SPECIFIER);
    printDeviceNames("Default device", ALC_DEFAULT_DEVICE_SPECIFIER);
    printf("%-22s %s\n", "ALC extensions:", alcGetString(device, ALC_EXTENSIONS));
    printInteger(device, "ALC major version:", ALC_MAJOR_VERSION, "");
    printInteger(device, "ALC minor version:", ALC_MINOR_VERSION, "");
    printInteger(device, "EFX major version:", ALC_EFX_MAJOR_VERSION, "");
    printInteger(device, "EFX minor version:", ALC_EFX_MINOR_VERSION, "");
    printInteger(device, "Auxiliary sends:", ALC_MAX_AUXILIARY_SENDS, "");
}

static void printContext(ALCdevice* device) {
    printInteger(device, "Sample rate:", ALC_FREQUENCY, " Hz");
    printInteger(device, "Refresh rate:", ALC_REFRESH, " Hz");
    printInteger(device, "Synchronous:", ALC_SYNC, "");
    printInteger(device, "Mono sources:", ALC_MONO_SOURCES, "");
    printInteger(device, "Stereo sources:", ALC_STEREO_SOURCES, "");
    printInteger(device, "Filter order:", ALC_DEFAULT_FILTER_ORDER, "");
    printAttributes(device);
    printf("%-22s %s\n", "AL vendor:", alGetString(AL_VENDOR));
    printf("%-22s %s\n", "AL renderer:", alGetString(AL_RENDERER));
    printf("%-22s %s\n", "AL version:", alGetString(AL_VERSION));
    printf("%-22s %s\n", "AL extensions:", alGetString(AL_EXTENSIONS));
}

static int explainFailure(ALCdevice* device) {
    const ALCenum code = alcGetError(device);
    fprintf(stderr,
            "No context could be made: %s\n"
            "The reason stands in the log, under [Log] in HollowbrookLabs/store.conf of your configuration "
            "folder\n"
            "(usually ~/.config).\n",
            alcGetString(device, code));
    return 1;
}

int main(void) {
    ALCdevice* const device = alcOpenDevice(NULL);
    ALCcontext* context = NULL;
    ALCenum error = ALC_NO_ERROR;
    if (device == NULL) {
        fprintf(stderr, "The device could not be opened.\n");
        return 1;
    }
    printDevice(device);
    context = alcCreateContext(device, NULL);
    if (context == NULL) return explainFailure(device);
    alcMakeContextCurrent(context);
    printContext(device);
    error = alcGetError(device);
    alcMakeContextCurrent(NULL);
    alcDestroyContext(context);
    if (alcCloseDevice(device) != ALC_TRUE || error != ALC_NO_ERROR) {
        fprintf(stderr, "A call failed: %s\n", alcGetString(device, error));
        return 1;
    }
    return 0;
}
