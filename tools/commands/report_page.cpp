// SPDX-License-Identifier: Apache-2.0
#include "commands/report_page.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <filesystem>

#include "words/text.h"

namespace tool {
namespace {

// `scale` is how many pixels of the page one of the picture has.
std::string image(const ReportPictures &pictures, const PagePicture &picture, const char *kind,
                  std::uint32_t scale, const std::string &what) {
  return printed("<img class=\"%s\" width=\"%" PRIu32 "\" height=\"%" PRIu32
                 "\" loading=\"lazy\" decoding=\"async\" alt=\"",
                 kind, picture.width * scale, picture.height * scale) +
         htmlText(what) + "\" src=\"" + pictures.sourceOf(picture) + "\">";
}

std::string percent(double share) {
  // What is there is not shown as nothing.
  if (share > 0 && share < 0.0001) return "&lt;0.01&nbsp;%";
  return printed("%.2f&nbsp;%%", 100 * share);
}

const char *styleOf(const char *component) {
  switch (component[0]) {
    case 'R':
    case 'V':
      return "red";
    case 'G':
      return component[1] == 'b' ? "green2" : "green";
    case 'B':
    case 'U':
      return "blue";
    default:
      return "grey";
  }
}

// One outline for each component, heights by the square root so that small shares are seen.
std::string histogramOf(const Statistics &statistics) {
  constexpr int barWidth = 5, height = 96;
  std::string svg = printed(
      "<svg class=\"histogram\" viewBox=\"0 0 %d %d\" preserveAspectRatio=\"none\" role=\"img\">"
      "<title>Histogram, 0 to %" PRIu32 "</title>",
      barWidth * static_cast<int>(kBins), height, statistics.top);
  for (const Component &c : statistics.components) {
    const auto most = static_cast<double>(*std::max_element(c.histogram.begin(), c.histogram.end()));
    std::string path = printed("M0 %d", height);
    for (unsigned i = 0; i < kBins; ++i) {
      const double share = most == 0 ? 0 : std::sqrt(static_cast<double>(c.histogram[i]) / most);
      path += printed("V%.1fH%u", height - (height - 2) * share, (i + 1) * barWidth);
    }
    svg += printed("<path class=\"%s\" d=\"%sV%dZ\"/>", styleOf(c.name), path.c_str(), height);
  }
  return svg + "</svg>";
}

std::string samplesTable(const Statistics &statistics) {
  std::string text =
      "<table class=\"samples\"><thead><tr><th>samples<th>min<th>max<th>mean<th>at 0<th>clipped<th>at max<th>above</thead><tbody>";
  for (const Component &c : statistics.components)
    text += printed("<tr><th><i class=\"%s\"></i>%s<td>%" PRIu32 "<td>%" PRIu32 "<td>%.1f<td>",
                    styleOf(c.name), c.name, c.least, c.most, c.mean) +
            percent(c.zero) + "<td>" + percent(c.clipped) + "<td>" + percent(c.atMost) + "<td>" +
            percent(c.above);
  return text + "</tbody></table>";
}

std::string detailFigures(const Detail &detail, const ReportPictures &pictures) {
  const auto figure = [&pictures](const PagePicture &picture, const char *name) {
    return "<figure>" + image(pictures, picture, "detail", kDetailScale, name) + "<figcaption>" + name +
           "</figcaption></figure>";
  };
  return printed("<div class=\"details\"><p>Where standard and adaptive demosaicing differ most: %" PRIu32
                 "&times;%" PRIu32 " pixels from (%" PRIu32 ",&nbsp;%" PRIu32 "), enlarged %" PRIu32
                 " times; mean difference %.1f of 255.</p>",
                 kDetailWidth, kDetailHeight, detail.x, detail.y, kDetailScale, detail.difference) +
         figure(detail.standard, "standard") + figure(detail.adaptive, "ACPI") + "</div>";
}

std::string sizeText(std::uint64_t bytes) {
  if (bytes < 10000) return printed("%" PRIu64 " bytes", bytes);
  if (bytes < 10000000) return printed("%.1f kB", static_cast<double>(bytes) / 1e3);
  return printed("%.1f MB", static_cast<double>(bytes) / 1e6);
}

std::string baseName(const std::string &file) {
  const std::string name = std::filesystem::path(file).filename().string();
  return name.empty() ? file : name;
}

}  // namespace

std::string pageHead(const std::string &title) {
  const std::string shown = htmlText(title.empty() ? "Raw frames" : title);
  return "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
         shown + R"(</title>
<style>
:root { color-scheme: light dark; --ink: #1d2328; --soft: #5d6871; --line: #dfe4e8; --paper: #ffffff; --ground: #f4f6f7;
  --red: #c6413b; --green: #2f8f4e; --green2: #7aa52c; --blue: #2d6cc0; --grey: #77828c; --bad: #a32a22 }
@media (prefers-color-scheme: dark) { :root { --ink: #e4e8eb; --soft: #98a4ad; --line: #343c43; --paper: #1c2226;
  --ground: #14181b; --red: #e8706a; --green: #5cc27e; --green2: #b3d35f; --blue: #6ea6ee; --grey: #a3aeb7; --bad: #f0857d } }
* { box-sizing: border-box }
body { margin: 0 auto; max-width: 76rem; padding: 2rem 1rem 4rem; background: var(--ground); color: var(--ink);
  font: 0.9375rem/1.5 system-ui, sans-serif }
h1 { font-size: 1.6rem; font-weight: 650; margin: 0 0 0.25rem }
h2 { font-size: 1.05rem; font-weight: 650; margin: 0; overflow-wrap: anywhere }
p { margin: 0 0 0.75rem; color: var(--soft) }
a { color: inherit }
.scroll { overflow-x: auto; background: var(--paper); border: 1px solid var(--line); border-radius: 6px; margin: 1rem 0 1.5rem }
table { border-collapse: collapse; font-variant-numeric: tabular-nums }
th, td { text-align: right; padding: 0.25rem 0.6rem; white-space: nowrap; font-weight: 400 }
thead th { color: var(--soft); font-size: 0.8125rem }
.summary { width: 100% }
.summary tbody tr { border-top: 1px solid var(--line) }
.summary :is(th, td):is(:first-child, :nth-child(2)), .samples th:first-child { text-align: left }
.summary td:first-child { white-space: normal; overflow-wrap: anywhere; min-width: 10rem }
.bad { color: var(--bad); text-align: left; white-space: normal }
.card { background: var(--paper); border: 1px solid var(--line); border-radius: 6px; padding: 1rem; margin: 0 0 1rem;
  display: grid; grid-template-columns: 320px minmax(0, 1fr); gap: 1rem 1.5rem; align-items: start;
  content-visibility: auto; contain-intrinsic-size: auto 58rem }
.card header { grid-column: 1 / -1 }
.card header p { margin: 0 }
.pictures { display: grid; gap: 0.75rem }
code { overflow-wrap: anywhere }
.thumbnail { display: block; max-width: 100%; height: auto; border-radius: 3px }
.facts { overflow-x: auto }
.histogram { display: block; width: 100%; max-width: 30rem; height: 6rem; margin: 0 0 0.75rem; border-bottom: 1px solid var(--line) }
.histogram path { fill-opacity: 0.16; stroke-width: 1.2; vector-effect: non-scaling-stroke }
.red { fill: var(--red); stroke: var(--red); background: var(--red) }
.green { fill: var(--green); stroke: var(--green); background: var(--green) }
.green2 { fill: var(--green2); stroke: var(--green2); background: var(--green2) }
.blue { fill: var(--blue); stroke: var(--blue); background: var(--blue) }
.grey { fill: var(--grey); stroke: var(--grey); background: var(--grey) }
.samples i { display: inline-block; width: 0.6rem; height: 0.6rem; border-radius: 2px; margin-right: 0.4rem }
.details { grid-column: 1 / -1; display: flex; flex-wrap: wrap; gap: 0.5rem 1rem; border-top: 1px solid var(--line); padding-top: 0.75rem }
.details p { flex-basis: 100%; margin: 0 }
figure { margin: 0 }
figcaption { color: var(--soft); font-size: 0.8125rem }
.detail { display: block; max-width: 100%; height: auto; image-rendering: pixelated; border-radius: 3px }
@media (max-width: 46rem) { .card { grid-template-columns: minmax(0, 1fr) } .samples th, .samples td { padding: 0.2rem 0.35rem } }
</style>
</head>
<body>
<h1>)" + shown +
         "</h1>\n";
}

std::string pageSummary(const std::vector<ReportEntry> &entries) {
  const auto good = static_cast<std::size_t>(
      std::count_if(entries.begin(), entries.end(), [](const ReportEntry &e) { return e.error.empty(); }));
  std::string text = printed("<p>%zu frame%s", good, good == 1 ? "" : "s");
  if (good != entries.size()) text += printed(", %zu not readable", entries.size() - good);
  text +=
      "</p>\n<div class=\"scroll\"><table class=\"summary\"><thead><tr><th>file<th>format<th>pixels<th>file size"
      "<th>min<th>max<th>mean<th>clipped</thead><tbody>\n";
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const ReportEntry &entry = entries[i];
    if (!entry.error.empty()) {
      text += "<tr><td>" + htmlText(entry.file) + "<td class=\"bad\" colspan=\"7\">" + htmlText(entry.error) +
              "\n";
      continue;
    }
    std::uint32_t least = UINT32_MAX, most = 0;
    double sum = 0, clipped = 0, count = 0;
    for (const Component &c : entry.statistics.components) {
      const auto n = static_cast<double>(c.count);
      least = std::min(least, c.least);
      most = std::max(most, c.most);
      sum += c.mean * n, clipped += c.clipped * n, count += n;
    }
    text += printed("<tr><td><a href=\"#frame-%zu\">", i + 1) + htmlText(entry.file) + "</a>" +
            printed("<td>%s<td>%" PRIu32 "&times;%" PRIu32 "<td>%s<td>%" PRIu32 "<td>%" PRIu32 "<td>%.1f<td>",
                    entry.format->name, entry.facts.width, entry.facts.height,
                    sizeText(entry.facts.fileBytes).c_str(), least, most, sum / count) +
            percent(clipped / count) + "\n";
  }
  return text + "</tbody></table></div>\n";
}

std::string pageCard(const ReportEntry &entry, std::size_t number, const ReportPictures &pictures) {
  if (!entry.error.empty()) return {};
  const FileFacts &facts = entry.facts;
  std::string text =
      printed("<section class=\"card\" id=\"frame-%zu\">\n<header><h2>", number) +
      htmlText(baseName(entry.file)) + "</h2><p>" +
      printed("%s (0x%08" PRIX32 "), %" PRIu32 "&times;%" PRIu32 " pixels, %" PRIu64
              " bytes a row; %s file of %" PRIu64 " bytes%s%s",
              entry.format->name, facts.code, facts.width, facts.height, facts.rowBytes,
              facts.rwh ? "RWH" : "headerless", facts.fileBytes, facts.rwh ? ", as its header says" : "",
              entry.stretched ? "; pictures spread over the range of the frame" : "") +
      "</p></header>\n";
  text += "<div class=\"pictures\">" +
          image(pictures, entry.thumbnail, "thumbnail", 1, "Thumbnail of " + baseName(entry.file));
  if (!entry.seen.name.empty())
    text += "<figure>" + image(pictures, entry.seen, "thumbnail", 1, baseName(entry.file) + " with --auto") +
            "<figcaption>with --auto: <code>" + htmlText(entry.colour) + "</code></figcaption></figure>";
  text += "</div>";
  text +=
      "\n<div class=\"facts\">" + histogramOf(entry.statistics) + samplesTable(entry.statistics) + "</div>\n";
  if (entry.hasDetail) text += detailFigures(entry.detail, pictures) + "\n";
  return text + "</section>\n";
}

std::string pageEnd() {
  return "</body>\n</html>\n";
}

}  // namespace tool
