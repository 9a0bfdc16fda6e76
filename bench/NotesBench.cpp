// How fast bodies of notes are taken apart, beside the library's own unpacking of the same bytes.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "notes/IOS9NoteDataReader.h"
#include "samples/NoteBody.h"
#include "samples/SampleTexts.h"

namespace {

constexpr std::size_t kBodies = 100'000;

/// Notes from a line to some hundred; some with attachments.
std::vector<PDXBytes> makeBodies() {
  const auto lines = PDXSampleTexts::notes();
  const std::string id = "11111111-2222-4333-8444-555555555555";
  std::vector<PDXBytes> bodies;
  for (std::size_t i = 0; i < kBodies; ++i) {
    std::string text = "Note " + std::to_string(i) + "\n";
    std::vector<PDXSampleNoteReference> references;
    for (std::size_t line = 0; line < 2 + i % 40; ++line) {
      text += std::string(lines[(i * 7 + line * 13) % lines.size()]) + " " + std::to_string(i * line) + "\n";
      if (line % 16 != 5) continue;
      text += "\xEF\xBF\xBC\n";
      references.push_back({id, "public.jpeg"});
    }
    bodies.push_back(PDXSampleNoteBody::packed(PDXSampleNoteBody::record(text, references)));
  }
  return bodies;
}

const std::vector<PDXBytes>& bodies() {
  static const std::vector<PDXBytes> all = makeBodies();
  return all;
}

/// The floor: a buffer that is large enough for each, and nothing else.
void Inflate(benchmark::State& state) {
  PDXBytes buffer(std::size_t{1} << 20);
  std::int64_t count = 0;
  for (auto _ : state) {
    for (const PDXBytes& body : bodies()) {
      z_stream stream{};
      inflateInit2(&stream, 15 + 32);
      stream.next_in = const_cast<Bytef*>(body.data());
      stream.avail_in = static_cast<uInt>(body.size());
      stream.next_out = buffer.data();
      stream.avail_out = static_cast<uInt>(buffer.size());
      inflate(&stream, Z_FINISH);
      count += static_cast<std::int64_t>(stream.total_out);
      inflateEnd(&stream);
    }
  }
  state.SetBytesProcessed(count);
}
BENCHMARK(Inflate)->Unit(benchmark::kMillisecond);

/// Pieces, places and references, one body after the other.
void ReadBody(benchmark::State& state) {
  PDXIOS9NoteDataReader::Body read;
  for (auto _ : state) {
    for (const PDXBytes& body : bodies()) {
      PDXIOS9NoteDataReader::readBody(body, read);
      benchmark::DoNotOptimize(read.content.data());
    }
  }
}
BENCHMARK(ReadBody)->Unit(benchmark::kMillisecond);

/// The same where every note keeps its pieces.
void ReadNoteData(benchmark::State& state) {
  for (auto _ : state) {
    for (const PDXBytes& body : bodies()) benchmark::DoNotOptimize(PDXIOS9NoteDataReader::readNoteData(body));
  }
}
BENCHMARK(ReadNoteData)->Unit(benchmark::kMillisecond);

/// As for a list of notes.
void ReadText(benchmark::State& state) {
  PDXIOS9NoteDataReader::Body memory;
  for (auto _ : state) {
    for (const PDXBytes& body : bodies())
      benchmark::DoNotOptimize(PDXIOS9NoteDataReader::readNoteText(body, memory));
  }
}
BENCHMARK(ReadText)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int count, char** arguments) {
  bodies();  // Made before any time counts.
  benchmark::Initialize(&count, arguments);
  benchmark::RunSpecifiedBenchmarks();
}
