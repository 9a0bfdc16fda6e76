#include <benchmark/benchmark.h>

#include <string>

#include "messages/AttributedBody.h"
#include "messages/ConversationExporterUtilities.h"
#include "platform/Date.h"
#include "platform/Text.h"
#include "samples/AttributedText.h"

namespace {

/// What a message costs beside the reading of its row: a million of each must stay well under a second or
/// two.
const std::string kPlain = "Could you water the tomatoes while we're away? Only if it does not rain <3";
const std::string kWithLink = "Look at https://example.com/garden/tomatoes?page=2 before it is too late.";

void escapeText(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(PDXText::escapedForHtml(kPlain));
}
BENCHMARK(escapeText);

void formatPlainText(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(PDXConversationExporterUtilities::formatUrlsInTextDisableLinks(kPlain, false));
  }
}
BENCHMARK(formatPlainText);

void formatTextWithLink(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        PDXConversationExporterUtilities::formatUrlsInTextDisableLinks(kWithLink, false));
  }
}
BENCHMARK(formatTextWithLink);

/// Messages some minutes apart, as a conversation has them.
void formatTimes(benchmark::State& state) {
  PDXDateFormatter formatter(PDXDateFormatter::Style::longDateShortTime);
  PDXDate time = PDXDates::fromReferenceSeconds(600'000'000);
  for (auto _ : state) {
    time += std::chrono::minutes(7);
    benchmark::DoNotOptimize(formatter.text(time));
  }
}
BENCHMARK(formatTimes);

void readAttributedBody(benchmark::State& state) {
  const PDXBytes body = PDXSampleAttributedText::archived(kPlain, "0A1B2C3D-0000-4000-8000-00000000000F");
  for (auto _ : state) benchmark::DoNotOptimize(PDXAttributedBody::text(body));
}
BENCHMARK(readAttributedBody);

}  // namespace

BENCHMARK_MAIN();
