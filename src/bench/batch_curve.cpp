// Benchmarks.svg: the document built as text, written beside and renamed.
#include "bench/batch_curve.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "platform/console.h"
#include "platform/files.h"

namespace {

constexpr double width = 900, height = 640;
constexpr double plotLeft = 100, plotRight = 870, plotTop = 80, plotBottom = 570;
// Shortest time the axis shows: a size faster than this sits on the floor.
constexpr double shortestSeconds = 1e-4;

void append(std::string* out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void append(std::string* out, const char* format, ...) {
  char text[512];
  va_list args;
  va_start(args, format);
  vsnprintf(text, sizeof(text), format, args);
  va_end(args);
  *out += text;
}

std::string escapeXml(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default:
        // Control characters are not allowed in XML 1.0 text.
        if (static_cast<unsigned char>(c) >= 0x20) out += c;
    }
  }
  return out;
}

// A log axis over whole decades [low, high], high > low.
struct Axis {
  int low, high;
  double from, to;  // screen coordinates of low and high
  double at(double value) const {
    double t = (std::log10(value) - low) / (high - low);
    return from + t * (to - from);
  }
};

Axis decadesOf(double smallest, double largest, double from, double to) {
  Axis axis{int(std::floor(std::log10(smallest) + 1e-9)),
            int(std::ceil(std::log10(largest) - 1e-9)), from, to};
  if (axis.high <= axis.low) axis.high = axis.low + 1;
  return axis;
}

void gridAndTicks(std::string* svg, const Axis& x, const Axis& y) {
  // Minor lines at 2..9 of each decade, major lines and labels at decades.
  for (int d = x.low; d <= x.high; ++d) {
    for (int m = 1; m <= (d < x.high ? 9 : 1); ++m) {
      double px = x.at(m * std::pow(10.0, d));
      append(svg, "<line class=\"%s\" x1=\"%.1f\" y1=\"%.0f\" x2=\"%.1f\" y2=\"%.0f\"/>\n",
             m == 1 ? "major" : "minor", px, plotTop, px, plotBottom);
    }
    append(svg, "<text class=\"tick\" x=\"%.1f\" y=\"%.0f\" text-anchor=\"middle\">%s</text>\n",
           x.at(std::pow(10.0, d)), plotBottom + 20, batchDigitsLabel(d).c_str());
  }
  for (int d = y.low; d <= y.high; ++d) {
    for (int m = 1; m <= (d < y.high ? 9 : 1); ++m) {
      double py = y.at(m * std::pow(10.0, d));
      append(svg, "<line class=\"%s\" x1=\"%.0f\" y1=\"%.1f\" x2=\"%.0f\" y2=\"%.1f\"/>\n",
             m == 1 ? "major" : "minor", plotLeft, py, plotRight, py);
    }
    append(svg, "<text class=\"tick\" x=\"%.0f\" y=\"%.1f\" text-anchor=\"end\">%s</text>\n",
           plotLeft - 8, y.at(std::pow(10.0, d)) + 4, batchSecondsLabel(d).c_str());
  }
}

void legend(std::string* svg) {
  const double x = plotLeft + 16, y = plotTop + 14;
  append(svg, "<rect class=\"legend\" x=\"%.0f\" y=\"%.0f\" width=\"270\" height=\"50\"/>\n", x,
         y);
  append(svg, "<line class=\"curve\" x1=\"%.0f\" y1=\"%.0f\" x2=\"%.0f\" y2=\"%.0f\"/>\n", x + 10,
         y + 16, x + 40, y + 16);
  append(svg, "<circle class=\"sample\" cx=\"%.0f\" cy=\"%.0f\" r=\"4\"/>\n", x + 25, y + 16);
  append(svg, "<text x=\"%.0f\" y=\"%.0f\">Best time of each size</text>\n", x + 50, y + 20);
  append(svg, "<line class=\"spread\" x1=\"%.0f\" y1=\"%.0f\" x2=\"%.0f\" y2=\"%.0f\"/>\n",
         x + 25, y + 28, x + 25, y + 42);
  append(svg, "<text x=\"%.0f\" y=\"%.0f\">Spread of its trials (best to slowest)</text>\n",
         x + 50, y + 39);
}

}  // namespace

std::string batchDigitsLabel(int decade) {
  static const char* const units[] = {"", "K", "M", "B", "T", "Q"};
  if (decade < 0) decade = 0;
  int unit = std::min(decade / 3, 5);
  std::string label = "1";
  for (int i = 0; i < decade - 3 * unit; ++i) label += '0';
  return label + units[unit];
}

std::string batchSecondsLabel(int decade) {
  char text[32];
  if (decade < -3) {
    snprintf(text, sizeof(text), "%g ms", std::pow(10.0, decade + 3));
  } else if (decade < 0) {
    snprintf(text, sizeof(text), "%d ms", int(std::lround(std::pow(10.0, decade + 3))));
  } else {
    snprintf(text, sizeof(text), "%.0f s", std::pow(10.0, decade));
  }
  return text;
}

std::string batchCurveSvg(const BatchCurveTitle& title, const BatchPoint* points, uint32_t count) {
  double fewest = 1e4, most = 1e5, fastest = 0.1, slowest = 1.0;
  if (count > 0) {
    fewest = most = double(points[0].digits);
    fastest = slowest = std::max(points[0].bestSeconds, shortestSeconds);
  }
  for (uint32_t i = 0; i < count; ++i) {
    fewest = std::min(fewest, double(points[i].digits));
    most = std::max(most, double(points[i].digits));
    fastest = std::min(fastest, std::max(points[i].bestSeconds, shortestSeconds));
    slowest = std::max(slowest, std::max(points[i].slowestSeconds, shortestSeconds));
  }
  const Axis x = decadesOf(fewest, most, plotLeft, plotRight);
  const Axis y = decadesOf(fastest, slowest, plotBottom, plotTop);

  std::string svg;
  append(&svg,
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
         "viewBox=\"0 0 %.0f %.0f\" font-family=\"sans-serif\" font-size=\"13\">\n",
         width, height, width, height);
  svg +=
      "<style>\n"
      ".major { stroke: #b0b0b0; stroke-width: 1; }\n"
      ".minor { stroke: #e6e6e6; stroke-width: 1; }\n"
      ".frame { fill: none; stroke: #404040; stroke-width: 1.2; }\n"
      ".curve { fill: none; stroke: #1f5fbf; stroke-width: 2; }\n"
      ".spread { stroke: #d9731a; stroke-width: 2; }\n"
      ".best, .sample { fill: #1f5fbf; stroke: white; stroke-width: 1; }\n"
      ".legend { fill: white; fill-opacity: 0.9; stroke: #909090; }\n"
      ".tick { fill: #303030; }\n"
      "</style>\n";
  append(&svg, "<rect x=\"0\" y=\"0\" width=\"%.0f\" height=\"%.0f\" fill=\"white\"/>\n", width,
         height);

  std::string name(title.processorName, strnlen(title.processorName, 48));
  char date[32] = "";
  struct tm local;
  if (localtime_r(&title.started, &local) != nullptr) {
    strftime(date, sizeof(date), "%Y-%m-%d %H:%M", &local);
  }
  append(&svg,
         "<text x=\"%.0f\" y=\"30\" text-anchor=\"middle\" font-size=\"18\" "
         "font-weight=\"bold\">Pi benchmarks: %s</text>\n",
         width / 2, escapeXml(name).c_str());
  append(&svg,
         "<text x=\"%.0f\" y=\"54\" text-anchor=\"middle\" font-size=\"14\">%llu thread%s, "
         "started %s</text>\n",
         width / 2, 1ull << title.threadPower, title.threadPower == 0 ? "" : "s", date);

  gridAndTicks(&svg, x, y);
  append(&svg,
         "<rect class=\"frame\" x=\"%.0f\" y=\"%.0f\" width=\"%.0f\" height=\"%.0f\"/>\n",
         plotLeft, plotTop, plotRight - plotLeft, plotBottom - plotTop);
  append(&svg, "<text x=\"%.0f\" y=\"%.0f\" text-anchor=\"middle\">Decimal digits</text>\n",
         (plotLeft + plotRight) / 2, plotBottom + 48);
  append(&svg,
         "<text x=\"28\" y=\"%.0f\" text-anchor=\"middle\" transform=\"rotate(-90 28 %.0f)\">"
         "Seconds</text>\n",
         (plotTop + plotBottom) / 2, (plotTop + plotBottom) / 2);

  if (count > 0) {
    svg += "<polyline class=\"curve\" points=\"";
    for (uint32_t i = 0; i < count; ++i) {
      append(&svg, "%s%.1f,%.1f", i == 0 ? "" : " ", x.at(double(points[i].digits)),
             y.at(std::max(points[i].bestSeconds, shortestSeconds)));
    }
    svg += "\"/>\n";
  }
  for (uint32_t i = 0; i < count; ++i) {
    const BatchPoint& p = points[i];
    double px = x.at(double(p.digits));
    double best = y.at(std::max(p.bestSeconds, shortestSeconds));
    double worst = y.at(std::max(p.slowestSeconds, shortestSeconds));
    append(&svg, "<g>\n<title>%s digits: best %.3f s, slowest %.3f s, %u trial%s</title>\n",
           formatGrouped(p.digits, 0).c_str(), p.bestSeconds, p.slowestSeconds, p.trials,
           p.trials == 1 ? "" : "s");
    append(&svg,
           "<line class=\"spread\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\"/>\n"
           "<line class=\"spread\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\"/>\n",
           px, best, px, worst, px - 4, worst, px + 4, worst);
    append(&svg, "<circle class=\"best\" cx=\"%.1f\" cy=\"%.1f\" r=\"4.5\"/>\n</g>\n", px, best);
  }
  legend(&svg);
  svg += "</svg>\n";
  return svg;
}

void writeBatchCurve(const char* path, const BatchCurveTitle& title, const BatchPoint* points,
                     uint32_t count) {
  std::string svg = batchCurveSvg(title, points, count);
  std::string fresh = std::string(path) + ".new";
  int fd = fileCreate(fresh.c_str());
  fileWrite(fd, svg.data(), svg.size());
  fileClose(fd);
  if (std::rename(fresh.c_str(), path) != 0) fatalMessage("Error Writing File.");
}
