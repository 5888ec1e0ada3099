// What the benchmarks' baselines share: timing a piece of work, and bare libxml2 evaluating
// an XPath expression on a document, as a store's lookup does without the store.
#pragma once

#include <benchmark/benchmark.h>
#include <libxml/xpath.h>

#include <chrono>
#include <string>

namespace vk::bench {

// Runs work(i) for i in 0..rounds-1 and returns the mean nanoseconds per round.
template <typename Work>
double MeanNanoseconds(int rounds, Work&& work) {
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < rounds; ++i) work(i);
  std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
  return spent.count() / rounds;
}

// Mean nanoseconds of 200 evaluations from the document element, round i evaluating
// expression(i) (UTF-8).
template <typename Expression>
double BareXPathNanoseconds(xmlDocPtr doc, Expression&& expression) {
  xmlXPathContextPtr ctx = xmlXPathNewContext(doc);
  ctx->node = xmlDocGetRootElement(doc);
  double ns = MeanNanoseconds(200, [&](int i) {
    const std::string text = expression(i);
    xmlXPathObjectPtr result =
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(text.c_str()), ctx);
    benchmark::DoNotOptimize(result);
    xmlXPathFreeObject(result);
  });
  xmlXPathFreeContext(ctx);
  return ns;
}

}  // namespace vk::bench
