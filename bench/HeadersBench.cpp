// Header blocks of growing size: parsing, reading and formatting are to grow in step with it.
#include <benchmark/benchmark.h>

#include <string>

#include "http/InternetHeaders.h"

namespace vantorel {
namespace {

String DifferentNames(std::int64_t count) {
  std::string block = "HTTP/1.0 200 OK\r\n";
  for (std::int64_t i = 0; i < count; ++i) block += "X-Header-" + std::to_string(i) + ": some value\r\n";
  return String::Bytes(block);
}

String SameName(std::int64_t count) {
  std::string block = "HTTP/1.0 200 OK\r\n";
  for (std::int64_t i = 0; i < count; ++i) block += "Set-Cookie: number=" + std::to_string(i) + "\r\n";
  return String::Bytes(block);
}

void Parse(benchmark::State& state, const String& block) {
  const auto headers = New<InternetHeaders>();
  for (auto _ : state) headers->_ParseHeaders(block);
  state.SetComplexityN(state.range(0));
}

void ParseDifferent(benchmark::State& state) {
  Parse(state, DifferentNames(state.range(0)));
}
void ParseSame(benchmark::State& state) {
  Parse(state, SameName(state.range(0)));
}

void Join(benchmark::State& state) {
  const auto headers = New<InternetHeaders>();
  headers->_ParseHeaders(SameName(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(headers->CommaSeparatedValues("set-cookie"));
  state.SetComplexityN(state.range(0));
}

void FormatAndDelete(benchmark::State& state) {
  const String block = SameName(state.range(0));
  const auto headers = New<InternetHeaders>();
  for (auto _ : state) {
    headers->_ParseHeaders(block);
    benchmark::DoNotOptimize(headers->_FormatHTTPHeaders());
    headers->Delete("set-cookie", 0);
    headers->SetHeader("set-cookie", "only one");
  }
  state.SetComplexityN(state.range(0));
}

BENCHMARK(ParseDifferent)->RangeMultiplier(10)->Range(100, 100'000)->Complexity();
BENCHMARK(ParseSame)->RangeMultiplier(10)->Range(100, 100'000)->Complexity();
BENCHMARK(Join)->RangeMultiplier(10)->Range(100, 100'000)->Complexity();
BENCHMARK(FormatAndDelete)->RangeMultiplier(10)->Range(100, 100'000)->Complexity();

}  // namespace
}  // namespace vantorel

BENCHMARK_MAIN();
