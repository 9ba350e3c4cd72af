#ifndef KESTROVE_TOOLS_NAVCTL_REPORT_PDFFILE_H
#define KESTROVE_TOOLS_NAVCTL_REPORT_PDFFILE_H

#include <string>

/// The program that makes PDF of HTML: a browser of the Chromium family, or WeasyPrint.
///
/// @return its path; empty when none is installed.
std::string PdfProgram();

/// What to say where there is none.
std::string NoPdfProgram();

/// Makes PDF of HTML.
///
/// @param program as PdfProgram() has found it.
/// @param pdf receives the file.
/// @return why it could not be made; empty on success.
std::string MakePdf(const std::string& program, const std::string& html, std::string& pdf);

#endif
