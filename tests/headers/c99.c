/* A program in C99 that links the library as a game does. */

#define AL_ALEXT_PROTOTYPES 1

#include "AL/al.h"
#include "AL/alc.h"
#include "AL/alext.h"
#include "AL/efx-presets.h"
#include "AL/efx.h"
#include "AL/tessarune.h"

#include <stdio.h>
#include <string.h>

int main(void) {
    ALCint version[3] = {-1, -1, -1};
    const ALchar* standard = alGetString(AL_VERSION);
    if (standard == NULL || strcmp(standard, "1.1") != 0) {
        fprintf(stderr, "AL_VERSION isn't 1.1.\n");
        return 1;
    }
    tsrGetVersion(&version[0], &version[1], &version[2]);
    if (version[0] < 2 || version[1] < 0 || version[2] < 0) {
        fprintf(stderr, "The version of the library is %d.%d.%d.\n", version[0], version[1], version[2]);
        return 1;
    }
    return 0;
}
