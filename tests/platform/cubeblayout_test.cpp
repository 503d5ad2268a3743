// The layout of the sound library's structures. The library is loaded at run time, whatever its headers were
// when ours was built: what libcubeb.so.0 reads and writes has to lie where it always has.

#include <cubeb/cubeb.h>
#include <gmock/gmock.h>

#include <cstddef>
#include <vector>

using testing::ElementsAre;
using Offsets = std::vector<std::size_t>;

TEST(CubebLayout, OfWhatWeReadAndWrite_IsThatOfTheLibrarysInterface) {
    constexpr std::size_t pointer = sizeof(void*), numbers = 5 * pointer;
    using Stream = cubeb_stream_params;
    EXPECT_THAT((Offsets{offsetof(Stream, format), offsetof(Stream, rate), offsetof(Stream, channels),
                         offsetof(Stream, layout), offsetof(Stream, prefs), sizeof(Stream)}),
                ElementsAre(0, 4, 8, 12, 16, 20));
    using Info = cubeb_device_info;
    EXPECT_THAT((Offsets{offsetof(Info, devid), offsetof(Info, device_id), offsetof(Info, friendly_name)}),
                ElementsAre(0, pointer, 2 * pointer));
    EXPECT_THAT((Offsets{offsetof(Info, state), offsetof(Info, preferred), offsetof(Info, max_channels),
                         offsetof(Info, default_rate)}),
                ElementsAre(numbers + 4, numbers + 8, numbers + 20, numbers + 24));
    EXPECT_EQ(sizeof(Info), (numbers + 44 + pointer - 1) / pointer * pointer);
    using Collection = cubeb_device_collection;
    EXPECT_THAT((Offsets{offsetof(Collection, device), offsetof(Collection, count)}),
                ElementsAre(0, pointer));
}
