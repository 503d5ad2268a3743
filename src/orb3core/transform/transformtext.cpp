#include "orb3core/transform/transformtext.h"

#include <charconv>
#include <cstring>
#include <optional>
#include <string>
#include <system_error>

#include "slib/exception.h"
#include "slib/text.h"

namespace orb3::strans {
namespace {

const char* const tooManyColumns = "Transform has too many columns.";

[[noreturn]] void Refuse(const char* text) {
    throw slib::BadDataException(text);
}

// The next line without its line feed, valid up to the next call; nothing at the end.
std::optional<std::string_view> TakeLine(StreamWindow& window) {
    std::size_t length = 0;
    for (;;) {
        const auto* lineFeed = static_cast<const unsigned char*>(
            std::memchr(window.next + length, '\n', window.AtHand() - length));
        length = lineFeed == nullptr ? window.AtHand() : static_cast<std::size_t>(lineFeed - window.next);
        if (length >= lineLimit) Refuse(tooManyColumns);
        if (lineFeed != nullptr || !window.Fetch(length + 1)) break;
    }
    if (window.isBroken)
        throw slib::OperatingSystemErrnoException("Unable to read a transform from a stream. [2]");
    if (window.AtHand() == 0) return std::nullopt;
    const std::string_view line(reinterpret_cast<const char*>(window.next), length);
    window.next += length < window.AtHand() ? length + 1 : length;
    return line;
}

// What follows `field` on the next line, which must begin with it.
std::string_view TakeHeaderLine(StreamWindow& window, std::string_view field) {
    const auto line = TakeLine(window);
    if (!line || !line->starts_with(field)) Refuse("Badly formed header.");
    return line->substr(field.size());
}

template <typename T>
void ReadHeader(StreamWindow& window, TimeDomainTransform<T, 1>& transform) {
    transform.sampleRate = slib::ParseDouble(TakeHeaderLine(window, textMagic));
    if (!(transform.sampleRate > 0)) Refuse("Badly formed sample rate.");
    transform.start = static_cast<std::uint32_t>(slib::ParseInt(TakeHeaderLine(window, "start=")));
    transform.width = static_cast<std::uint32_t>(slib::ParseInt(TakeHeaderLine(window, "width=")));
}

void SkipSpace(std::string_view& line) {
    while (!line.empty() && slib::IsSpace(line.front()))
        line.remove_prefix(1);
}

// Takes a number and the space around it off the front; false at the end of the line.
bool TakeNumber(std::string_view& line, double& value) {
    SkipSpace(line);
    if (line.empty()) return false;
    if (line.front() == '+') line.remove_prefix(1);
    const auto result = std::from_chars(line.data(), line.data() + line.size(), value);
    const auto length = static_cast<std::size_t>(result.ptr - line.data());
    if (result.ec == std::errc::invalid_argument) Refuse("A transform holds something that is not a number.");
    if (result.ec == std::errc::result_out_of_range) value = slib::ParseDouble(line.substr(0, length));
    line.remove_prefix(length);
    if (!line.empty() && !slib::IsSpace(line.front()))
        Refuse("A transform holds something that is not a number.");
    return true;
}

// Gathers the lines of numbers. A slice is what is between two separators: all samples of one time.
template <typename T>
class SliceReader {
public:
    void AddLine(std::string_view line);
    void CloseSlice();
    bool IsEmpty() const { return rows == 0 && lines == 0; }
    void MoveTo(hcml::GenericMatrix<hcml::GenericVector<T, 1>, 0>& impulses) const;

private:
    hcml::GenericVector<T, 1> samples;  // by time, then by row
    std::uint64_t columns = 0;
    std::uint64_t rows = 0;    // of the first slice, once it is closed
    std::uint64_t lines = 0;   // of the current slice
    std::uint64_t slices = 0;  // closed
};

template <typename T>
void SliceReader<T>::AddLine(std::string_view line) {
    std::uint64_t count = 0;
    for (double value = 0; TakeNumber(line, value); ++count)
        samples.append(static_cast<T>(value));
    if (IsEmpty()) columns = count;
    if (count != columns) Refuse("Inconsistent row lengths.");
    ++lines;
}

template <typename T>
void SliceReader<T>::CloseSlice() {
    if (IsEmpty()) Refuse("Unexpected time separator.");
    if (rows == 0) rows = lines;
    if (lines != rows) Refuse("Inconsistent row counts.");
    lines = 0;
    ++slices;
}

// The product of the three counts is the number of samples, so each fits 32 bits unless there are none.
template <typename T>
void SliceReader<T>::MoveTo(hcml::GenericMatrix<hcml::GenericVector<T, 1>, 0>& impulses) const {
    if (samples.size == 0) return;
    impulses.resize(static_cast<std::uint32_t>(rows), static_cast<std::uint32_t>(columns));
    for (std::uint32_t i = 0; i < impulses.size; ++i) {
        impulses[i].resize(static_cast<std::uint32_t>(slices));
        for (std::uint32_t t = 0; t < impulses[i].size; ++t)
            impulses[i][t] = samples[std::size_t{t} * impulses.size + i];
    }
}

void Put(std::ostream& stream, std::string_view text, const char* code) {
    if (stream.write(text.data(), static_cast<std::streamsize>(text.size()))) return;
    throw slib::OperatingSystemErrnoException(std::string("Failed to write a transform to a file. [") + code +
                                              "]");
}

void PutRow(std::ostream& stream, const hcml::GenericVector<double, 1>* row, std::uint32_t columns,
            std::uint32_t time) {
    for (std::uint32_t c = 0; c < columns; ++c) {
        const std::string value = slib::FormatNumber(row[c][time], 8);
        Put(stream, c == 0 ? value : " " + value, "9");
    }
    Put(stream, "\n", "10");
}

}  // namespace

template <typename T>
void ReadTransformText(StreamWindow& window, TimeDomainTransform<T, 1>& transform) {
    transform.impulses.clear();
    ReadHeader(window, transform);
    TakeLine(window);  // the first separator
    SliceReader<T> slices;
    while (const auto line = TakeLine(window)) {
        const bool isSeparator = line->empty() || static_cast<unsigned char>(line->front()) < ' ';
        isSeparator ? slices.CloseSlice() : slices.AddLine(*line);
    }
    if (slices.IsEmpty()) return;
    slices.CloseSlice();
    slices.MoveTo(transform.impulses);
}

template void ReadTransformText(StreamWindow&, TimeDomainTransform<float, 1>&);
template void ReadTransformText(StreamWindow&, TimeDomainTransform<double, 1>&);

void WriteTransformText(std::ostream& stream, const TimeDomainTransform<double, 1>& transform) {
    const auto& impulses = transform.impulses;
    Put(stream,
        "sr=" + slib::FormatNumber(transform.sampleRate) + "\nstart=" + std::to_string(transform.start) +
            "\nwidth=" + std::to_string(transform.width) + "\n",
        "7");
    for (std::uint32_t time = 0; time < transform.Length(); ++time) {
        Put(stream, "\n", "8");
        for (std::uint32_t r = 0; r < impulses.rows; ++r)
            PutRow(stream, impulses.data + std::size_t{r} * impulses.columns, impulses.columns, time);
    }
}

}  // namespace orb3::strans
