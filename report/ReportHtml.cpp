#include "report/ReportHtml.h"

#include "pictures/SvgWriter.h"
#include "report/ReportPictures.h"

namespace {

const char* const kStyle = R"(
@page { size: A4; margin: 16mm 14mm; }
* { box-sizing: border-box; }
body { font: 15px/1.45 system-ui, sans-serif; color: #1a1a1a; background: #fff; margin: 0 auto;
  max-width: 54rem; padding: 1rem; }
h1 { font-size: 1.7rem; margin: 0 0 .3rem; overflow-wrap: anywhere; }
h2 { font-size: 1.2rem; margin: 1.6rem 0 .4rem; break-after: avoid; }
p { margin: .3rem 0 .6rem; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
caption { text-align: left; padding-bottom: .3rem; }
th, td { border-bottom: 1px solid #888; padding: .25rem .5rem; text-align: left;
  vertical-align: top; }
td { overflow-wrap: anywhere; min-width: 4em; }
td:last-child { min-width: 7.5em; }
thead th { border-bottom: 2px solid #333; }
tr, figure { break-inside: avoid; }
figure { margin: .4rem 0 1rem; }
svg { max-width: 100%; height: auto; display: block; }
.key { font-size: 1.3rem; }
@media print { body { font-size: 10pt; max-width: none; padding: 0; } .scroll { overflow: visible; }
  svg { max-height: 220mm; } }
)";

/// The first line of figures, for who reads nothing else.
std::string KeyText(const CDriveReport& report)
{
    const auto sentence = [](const char* name, const CErrorFigures& figures) {
        const ErrorSummary summary = figures.Summary();
        const bool isEnough = summary.count >= CErrorFigures::kFewestForShare;
        const double error = isEnough ? summary.notExceeded95 : summary.worst;
        return std::string(name) + (isEnough ? " 95 % within " : " at worst ") +
               FixedText(100.0 * error, 1) + " cm";
    };
    std::string text = sentence("Machine:", report.Machine());
    if (report.Implement().Count() > 0) {
        text += "; " + sentence("implement:", report.Implement());
    }
    return text + ". These figures rest on " + RestText(report.Machine().Summary()) + ".";
}

void AddTable(std::string& html, const ReportTable& table)
{
    html += "<h2>" + EscapedForXml(table.title) + "</h2>\n";
    if (!table.note.empty()) {
        html += "<p>" + EscapedForXml(table.note) + "</p>\n";
    }
    if (table.rows.empty()) {
        return;
    }
    html += "<div class=\"scroll\" tabindex=\"0\" role=\"group\" aria-label=\"" +
            EscapedForXml(table.title) + "\"><table>\n<thead><tr>";
    for (const std::string& column : table.columns) {
        html +=
            column.empty() ? "<td></td>" : "<th scope=\"col\">" + EscapedForXml(column) + "</th>";
    }
    html += "</tr></thead>\n<tbody>\n";
    for (const std::vector<std::string>& row : table.rows) {
        html += "<tr><th scope=\"row\">" + EscapedForXml(row.front()) + "</th>";
        for (std::size_t i = 1; i < row.size(); ++i) {
            html += "<td>" + EscapedForXml(row[i]) + "</td>";
        }
        html += "</tr>\n";
    }
    html += "</tbody></table></div>\n";
}

void AddPicture(std::string& html, const ReportPicture& picture)
{
    html += "<figure>\n<h2>" + EscapedForXml(picture.title) + "</h2>\n" + picture.svg +
            "<figcaption>" + EscapedForXml(picture.caption) + "</figcaption>\n</figure>\n";
}

} // namespace

std::string ReportHtml(const CDriveReport& report, const ReportOrigin& origin)
{
    const std::string title = "Accuracy of " + origin.source;
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<title>" +
                       EscapedForXml(title) + "</title>\n<style>" + kStyle +
                       "</style>\n</head>\n<body>\n<main>\n<h1>" + EscapedForXml(title) +
                       "</h1>\n<p class=\"key\">" + EscapedForXml(KeyText(report)) + "</p>\n";
    const std::vector<ReportTable> tables = TablesOf(report, origin);
    // The figures, then what they look like, then what they come from.
    constexpr std::size_t kFigures = 3;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (i == kFigures) {
            for (const ReportPicture& picture : PicturesOf(report)) {
                AddPicture(html, picture);
            }
        }
        AddTable(html, tables[i]);
    }
    html += "</main>\n</body>\n</html>\n";
    return html;
}
