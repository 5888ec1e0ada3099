// What the benchmarks share: a scratch folder, a plain timing loop and the bare libxml2 XPath
// baseline.
#pragma once

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <malloc.h>
#include <stdlib.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/Files.h"

namespace vk::bench {

// A new folder under the system's temporary folder; the caller removes it.
inline std::string TempFolder() {
  std::string pattern = std::filesystem::temp_directory_path().string() + "/vk-bench-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) abort();
  return pattern;
}

// A field of /proc/self/status in kilobytes ("VmRSS:", "VmHWM:").
inline long StatusKilobytes(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(field, 0) == 0) return std::stol(line.substr(std::strlen(field) + 1));
  }
  return 0;
}

// How far `work` raises the resident high-water mark above the resident size it began with,
// in bytes. The heap is trimmed first so that the work cannot hide in memory freed earlier.
template <typename Work>
double PeakRssGrowthBytes(Work&& work) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";  // resets VmHWM to the current VmRSS
  const long before = StatusKilobytes("VmRSS:");
  work();
  return 1024.0 * double(StatusKilobytes("VmHWM:") - before);
}

// Runs work `rounds` times and returns the mean nanoseconds per round.
template <typename Work>
double MeanNanoseconds(int rounds, Work&& work) {
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < rounds; ++i) work(i);
  std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
  return spent.count() / rounds;
}

// Bare libxml2 on a document: the expressions that `expressions(round)` returns (one string
// or several), evaluated from the document element; the mean nanoseconds per round.
template <typename Expressions>
inline double BareXPathNanoseconds(xmlDocPtr doc, int rounds, Expressions&& expressions) {
  xmlXPathContextPtr ctx = xmlXPathNewContext(doc);
  ctx->node = xmlDocGetRootElement(doc);
  auto evaluate = [&](const std::string& expression) {
    xmlXPathObjectPtr result =
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(expression.c_str()), ctx);
    benchmark::DoNotOptimize(result);
    xmlXPathFreeObject(result);
  };
  double ns = MeanNanoseconds(rounds, [&](int i) {
    auto chosen = expressions(i);
    if constexpr (std::is_convertible_v<decltype(chosen), std::string>) {
      evaluate(chosen);
    } else {
      for (const std::string& expression : chosen) evaluate(expression);
    }
  });
  xmlXPathFreeContext(ctx);
  return ns;
}

// The same on the store's file.
template <typename Expressions>
inline double BareXPathNanoseconds(const std::u16string& path, int rounds,
                                   Expressions&& expressions) {
  xmlDocPtr doc = xmlReadFile(PathToNative(path).c_str(), nullptr, XML_PARSE_NONET);
  double ns = BareXPathNanoseconds(doc, rounds, std::forward<Expressions>(expressions));
  xmlFreeDoc(doc);
  return ns;
}

}  // namespace vk::bench
