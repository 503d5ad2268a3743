// The store's text beside wxWidgets' wxFileConfig, a second reader and writer of such files.

#include <gtest/gtest.h>
#include <wx/fileconf.h>
#include <wx/mstream.h>

#include <memory>
#include <string>
#include <vector>

#include "orb3core/store/storetext.h"
#include "tests/support/dice.h"
#include "tests/support/temporaryfolder.h"

namespace {

wxString ToWx(const std::string& text) {
    return wxString::FromUTF8(text.data(), text.size());
}

class OtherStore {
public:
    explicit OtherStore(const std::string& text) {
        wxMemoryInputStream stream(text.data(), text.size());
        config = std::make_unique<wxFileConfig>(stream, wxConvUTF8);
        config->SetExpandEnvVars(false);
    }
    std::string Read(const std::string& key) const {
        wxString value;
        if (!config->Read(ToWx(key), &value)) return "absent";
        const wxScopedCharBuffer bytes = value.utf8_str();
        return {bytes.data(), bytes.length()};
    }
    void Write(const std::string& key, const std::string& value) { config->Write(ToWx(key), ToWx(value)); }
    std::string Text() const {
        wxMemoryOutputStream stream;
        config->Save(stream, wxConvUTF8);
        std::string text(stream.GetSize(), '\0');
        stream.CopyTo(text.data(), text.size());
        return text;
    }

private:
    std::unique_ptr<wxFileConfig> config;
};

// Names and first characters of values within ASCII: what the other one does beyond depends on the locale.
const std::vector<std::string> keys{"/Log/Index", "/log/INDEX", "/Log/001",    "/Speakers/Configuration",
                                    "/top",       "/A/B/C/x",   "/A/x",        "/A/B/y z",
                                    "/A/D/[=]",   "/A b/#;\\",  "/Formats/AFL"};
const std::vector<std::string> values{
    "",          "5",           "<Name>\"5.1\"</Name>\n", " blanks \t", "\"quoted\"",
    "C:\\new\\", "a\nb\r\nc\r", "x \xF0\x9F\x8E\xB5"};

std::vector<std::string> Texts() {
    std::vector<std::string> texts{"", "[A/B]\nx=1\n[Q]\nz=1\n",
                                   "# c\n[A]\nx=1\n# end\n[A/B]\ny=2\n# tail\n"};
    for (const auto& file : std::filesystem::directory_iterator(TESSARUNE_STORE_CORPUS))
        texts.push_back(testing_support::ReadFile(file.path()));
    return texts;
}

// What cannot be used was taken out before: the other one speaks up about it.
TEST(StoreText, ReadsAndWritesAsTheOtherOneDoes) {
    for (const std::string& text : Texts())
        for (std::uint32_t seed = 0; seed < 20; ++seed) {
            const std::string repaired = orb3::RepairStoreText(text);
            orb3::StoreText own(repaired);
            OtherStore other(repaired);
            testing_support::Dice dice(seed);
            for (int i = 0; i < 12; ++i) {
                const std::string key = dice.Of(keys);
                const std::string value = dice.Of(values);
                own.Write(key, value);
                other.Write(key, value);
            }
            ASSERT_EQ(own.Text(), other.Text()) << "from " << text;
            for (const std::string& key : keys)
                EXPECT_EQ(own.Read(key, "absent"), other.Read(key)) << key << " in " << text;
            EXPECT_EQ(orb3::StoreText(other.Text()).Text(), other.Text()) << "its file is left as it is";
        }
}

}  // namespace
