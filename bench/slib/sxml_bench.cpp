// Documents: parsing and writing, in bytes a second, beside copying the same text.

#include "slib/sxml.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

// A document of `count` elements in the manner of a configuration.
std::string Document(std::int64_t count) {
    std::string text = "<Configuration SelectedName=\"Quad\">";
    for (std::int64_t i = 0; i < count; ++i)
        text += "<Speaker Label=\"S" + std::to_string(i) +
                "\" Type=\"Normal\"><Location X=\"1\" Y=\"0.5\" Z=\"0\"/></Speaker>";
    return text + "</Configuration>";
}

void SetBytes(benchmark::State& state, const std::string& text) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void Parse(benchmark::State& state) {
    const std::string text = Document(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(slib::SXMLNode(text));
    SetBytes(state, text);
}
BENCHMARK(Parse)->Arg(8)->Arg(1000);

void Write(benchmark::State& state) {
    const std::string text = Document(state.range(0));
    const slib::SXMLNode node(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(node.ToString(slib::SXMLNode::Style::Compact));
    SetBytes(state, text);
}
BENCHMARK(Write)->Arg(8)->Arg(1000);

void CopyOfTheText(benchmark::State& state) {
    const std::string text = Document(state.range(0));
    for (auto _ : state) {
        std::string copy = text;
        benchmark::DoNotOptimize(copy.data());
    }
    SetBytes(state, text);
}
BENCHMARK(CopyOfTheText)->Arg(8)->Arg(1000);

}  // namespace
