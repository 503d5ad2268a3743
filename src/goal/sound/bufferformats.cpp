#include "goal/sound/bufferformats.h"

#include <algorithm>
#include <array>

#include "AL/al.h"
#include "AL/tessarune.h"

namespace goal {
namespace {

using enum SampleEncoding;

constexpr float scale8 = 1.0f / 128;
constexpr float scale16 = 1.0f / 32768;

// By ascending id.
constexpr std::array formats = std::to_array<BufferFormat>({
    // id, encoding, channels, arrangement, block bytes, block frames, scale, bits
    {AL_FORMAT_MONO8, Unsigned8, 1, Arrangement::None, 1, 1, scale8, 8},
    {AL_FORMAT_MONO16, Signed16, 1, Arrangement::None, 2, 1, scale16, 16},
    {AL_FORMAT_STEREO8, Unsigned8, 2, Arrangement::Stereo, 2, 1, scale8, 8},
    {AL_FORMAT_STEREO16, Signed16, 2, Arrangement::Stereo, 4, 1, scale16, 16},
    {AL_FORMAT_QUAD8, Unsigned8, 4, Arrangement::Quad, 4, 1, scale8, 8},
    {AL_FORMAT_QUAD16, Signed16, 4, Arrangement::Quad, 8, 1, scale16, 16},
    {AL_FORMAT_QUAD32, Float32, 4, Arrangement::Quad, 16, 1, 1, 0},
    {AL_FORMAT_REAR8, Unsigned8, 2, Arrangement::Rear, 2, 1, scale8, 8},
    {AL_FORMAT_REAR16, Signed16, 2, Arrangement::Rear, 4, 1, scale16, 16},
    {AL_FORMAT_REAR32, Float32, 2, Arrangement::Rear, 8, 1, 1, 0},
    {AL_FORMAT_51CHN8, Unsigned8, 6, Arrangement::Surround51, 6, 1, scale8, 8},
    {AL_FORMAT_51CHN16, Signed16, 6, Arrangement::Surround51, 12, 1, scale16, 16},
    {AL_FORMAT_51CHN32, Float32, 6, Arrangement::Surround51, 24, 1, 1, 0},
    {AL_FORMAT_61CHN8, Unsigned8, 7, Arrangement::Surround61, 7, 1, scale8, 8},
    {AL_FORMAT_61CHN16, Signed16, 7, Arrangement::Surround61, 14, 1, scale16, 16},
    {AL_FORMAT_61CHN32, Float32, 7, Arrangement::Surround61, 28, 1, 1, 0},
    {AL_FORMAT_71CHN8, Unsigned8, 8, Arrangement::Surround71, 8, 1, scale8, 8},
    {AL_FORMAT_71CHN16, Signed16, 8, Arrangement::Surround71, 16, 1, scale16, 16},
    {AL_FORMAT_71CHN32, Float32, 8, Arrangement::Surround71, 32, 1, 1, 0},
    {AL_FORMAT_MONO_IMA4, Ima4, 1, Arrangement::None, 36, 65, scale16, 0},
    {AL_FORMAT_STEREO_IMA4, Ima4, 2, Arrangement::Stereo, 72, 65, scale16, 0},
    {AL_FORMAT_MONO_FLOAT32, Float32, 1, Arrangement::None, 4, 1, 1, 0},
    {AL_FORMAT_STEREO_FLOAT32, Float32, 2, Arrangement::Stereo, 8, 1, 1, 0},
    {AL_FORMAT_MONO_DOUBLE_EXT, Float64, 1, Arrangement::None, 8, 1, 1, 0},
    {AL_FORMAT_STEREO_DOUBLE_EXT, Float64, 2, Arrangement::Stereo, 16, 1, 1, 0},
    {AL_FORMAT_MONO_MULAW, MuLaw, 1, Arrangement::None, 1, 1, scale16, 0},
    {AL_FORMAT_STEREO_MULAW, MuLaw, 2, Arrangement::Stereo, 2, 1, scale16, 0},
    {AL_FORMAT_QUAD_MULAW, MuLaw, 4, Arrangement::Quad, 4, 1, scale16, 0},
    {AL_FORMAT_REAR_MULAW, MuLaw, 2, Arrangement::Rear, 2, 1, scale16, 0},
    {AL_FORMAT_51CHN_MULAW, MuLaw, 6, Arrangement::Surround51, 6, 1, scale16, 0},
    {AL_FORMAT_61CHN_MULAW, MuLaw, 7, Arrangement::Surround61, 7, 1, scale16, 0},
    {AL_FORMAT_71CHN_MULAW, MuLaw, 8, Arrangement::Surround71, 8, 1, scale16, 0},
    {AL_FORMAT_BFORMAT2_MULAW, MuLaw, 3, Arrangement::BFormat2D, 3, 1, scale16, 0},
    {AL_FORMAT_BFORMAT3_MULAW, MuLaw, 4, Arrangement::BFormat3D, 4, 1, scale16, 0},
    {AL_FORMAT_BFORMAT2D_8, Unsigned8, 3, Arrangement::BFormat2D, 3, 1, scale8, 8},
    {AL_FORMAT_BFORMAT2D_16, Signed16, 3, Arrangement::BFormat2D, 6, 1, scale16, 16},
    {AL_FORMAT_BFORMAT2D_FLOAT32, Float32, 3, Arrangement::BFormat2D, 12, 1, 1, 0},
    {AL_FORMAT_BFORMAT3D_8, Unsigned8, 4, Arrangement::BFormat3D, 4, 1, scale8, 8},
    {AL_FORMAT_BFORMAT3D_16, Signed16, 4, Arrangement::BFormat3D, 8, 1, scale16, 16},
    {AL_FORMAT_BFORMAT3D_FLOAT32, Float32, 4, Arrangement::BFormat3D, 16, 1, 1, 0},
});

static_assert(std::ranges::is_sorted(formats, {}, &BufferFormat::id));

}  // namespace

const BufferFormat* FindBufferFormat(std::int32_t id) {
    const auto* found = std::ranges::lower_bound(formats, id, {}, &BufferFormat::id);
    return found != formats.end() && found->id == id ? found : nullptr;
}

}  // namespace goal
