// What the tunable program reports beyond the quality summary: connectivity - 1 and the achieved
// imbalance on standard output, and the whole run as one JSON object for scripts.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "driver/advanced.h"
#include "io/io.h"

namespace hypra {

namespace {

// A JSON string: quotes, backslashes and control characters escaped; other bytes as they are.
std::string JsonString(const char *text) {
  std::string s = "\"";
  for (const char *p = text; *p != '\0'; p++) {
    const unsigned char c = static_cast<unsigned char>(*p);
    if (c == '"' || c == '\\') {
      s += '\\';
      s += static_cast<char>(c);
    } else if (c < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof(escape), "\\u%04x", c);
      s += escape;
    } else {
      s += static_cast<char>(c);
    }
  }
  return s + "\"";
}

// The shortest text that reads back as the same double (0.03, not 0.029999999999999999).
std::string JsonNumber(double value) {
  char text[64];
  for (int precision = 15; precision <= 17; precision++) {
    std::snprintf(text, sizeof(text), "%.*g", precision, value);
    if (std::strtod(text, nullptr) == value) break;
  }
  return text;
}

std::string JsonPartWeights(int nparts, const long long *pwgts) {
  std::string s = "[";
  for (int p = 0; p < nparts; p++) s += (p > 0 ? ", " : "") + std::to_string(pwgts[p]);
  return s + "]";
}

std::string JsonSettings(const AdvancedArgs &a) {
  std::string s = "{";
  s += "\"ubfactor\": " + (a.imbalance > 0 ? std::string("null") : std::to_string(a.ubfactor));
  s += ", \"runs\": " + std::to_string(a.runs);
  s += ", \"ctype\": " + std::to_string(a.ctype);
  s += ", \"rtype\": " + std::to_string(a.rtype);
  s += ", \"vcycle\": " + std::to_string(a.vcycle);
  s += ", \"reconst\": " + std::string(a.reconst ? "true" : "false");
  s += ", \"threads\": " + std::to_string(a.threads);
  s += ", \"fix\": " + (a.fixfile != nullptr ? JsonString(a.fixfile) : std::string("null"));
  s += ", \"preset\": " + JsonString(a.quality ? "quality" : "default");
  return s + "}";
}

std::string JsonReport(const AdvancedArgs &a, const RunFigures &f) {
  const PartitionMetrics &m = f.metrics;
  std::string s = "{\n";
  auto field = [&s](const char *name, const std::string &value, bool last = false) {
    s += std::string("  \"") + name + "\": " + value + (last ? "\n" : ",\n");
  };
  field("input", JsonString(a.graphfile));
  field("format", JsonString(f.format));
  field("vertices", std::to_string(f.nvtxs));
  field("hyperedges", std::to_string(f.nhedges));
  field("pins", std::to_string(f.npins));
  field("k", std::to_string(a.nparts));
  field("method", JsonString(UsesDirectPath(a) ? "direct" : "recursive"));
  field("imbalance_bound", a.imbalance > 0 ? JsonNumber(a.imbalance) : "null");
  field("max_part_weight_bound", f.bound > 0 ? std::to_string(f.bound) : "null");
  field("imbalance", JsonNumber(m.imbalance));
  field("cut", std::to_string(m.cut));
  field("soed", std::to_string(m.soed));
  field("km1", std::to_string(m.km1));
  field("total_weight", std::to_string(m.total));
  field("part_weights", JsonPartWeights(a.nparts, f.pwgts));
  field("seed", a.seeded ? std::to_string(a.seed) : "null");
  field("settings", JsonSettings(a));
  field("cpu_seconds", JsonNumber(f.cpu_seconds));
  field("wall_seconds", JsonNumber(f.wall_seconds), true);
  return s + "}\n";
}

}  // namespace

void PrintExtraFigures(const AdvancedArgs &args, const RunFigures &figures) {
  std::printf("\n\n             Connectivity - 1:%10lld\t\t(minimize)", figures.metrics.km1);
  std::printf("\n                    Imbalance:%10.4f\t\t(heaviest part / ceil(W/k) - 1",
              figures.metrics.imbalance);
  if (args.imbalance > 0)
    std::printf("; at most %g, a part at most %lld)", args.imbalance, figures.bound);
  else
    std::printf(")");
}

void WriteJsonReport(const AdvancedArgs &args, const RunFigures &figures) {
  const std::string text = JsonReport(args, figures);
  OutputFile out;
  OpenOutputFile(args.jsonfile, "hypra-advanced: JSON report", kExitFailure, &out);
  std::fwrite(text.data(), 1, text.size(), out.fp);
  CloseOutputFile(&out);
}

}  // namespace hypra
