// Small documents of the kinds that other programs read.
#pragma once

#include <string>
#include <vector>

namespace siftwell {

// A document of one page that shows the text, with what readers of the format insist on.
inline std::string pdfShowing(const std::string& text) {
    const std::string content = "BT /F1 12 Tf 20 100 Td (" + text + ") Tj ET";
    const std::vector<std::string> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300 200] /Contents 4 0 R /Resources << /Font "
        "<< /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >> >>",
        "<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content + "\nendstream"};
    std::string pdf = "%PDF-1.4\n";
    std::string places = "0000000000 65535 f \n";
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const std::string place = std::to_string(pdf.size());
        places += std::string(10 - place.size(), '0') + place + " 00000 n \n";
        pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const std::string count = std::to_string(objects.size() + 1);
    return pdf + "xref\n0 " + count + "\n" + places + "trailer\n<< /Size " + count +
           " /Root 1 0 R >>\nstartxref\n" + std::to_string(pdf.size()) + "\n%%EOF\n";
}

// A document of the oldest kind that its reader knows: a header, and the text behind it.
inline std::string docShowing(const std::string& text) {
    constexpr std::size_t kTextAt = 0x300;
    std::string doc(kTextAt, '\0');
    doc.replace(0, 3, "\xDB\xA5\x2D");
    doc[0x19] = static_cast<char>(kTextAt >> 8);
    doc[0x1C] = static_cast<char>(text.size());
    doc[0x1D] = static_cast<char>(kTextAt >> 8);
    doc[0x34] = static_cast<char>(text.size());
    return doc + text;
}

}  // namespace siftwell
