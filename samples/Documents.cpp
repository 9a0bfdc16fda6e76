#include "samples/Documents.h"

#include <string>
#include <string_view>
#include <vector>

#include "samples_embedded.h"

namespace {

PDXBytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

constexpr const char* kPage =
    "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R"
    " /Resources << /Font << /F1 5 0 R >> >> >>";

constexpr std::string_view kDrawing =
    "BT /F1 28 Tf 72 720 Td (Saturday at Saltmarsh) Tj ET\n"
    "BT /F1 14 Tf 72 680 Td 20 TL\n"
    "(10:05  Train from Stonebridge, platform 2) Tj T*\n"
    "(11:20  Boat from the old ferry steps) Tj T*\n"
    "(13:00  Lunch at the Copper Kettle) Tj T*\n"
    "(16:40  Train home. Bring the green scarf!) Tj ET\n"
    "0.2 0.4 0.7 RG 3 w 72 710 m 400 710 l S\n";

/// The table that tells readers where each object of the file begins.
std::string crossReference(const std::vector<std::size_t>& places) {
  std::string table = "xref\n0 " + std::to_string(places.size() + 1) + "\n0000000000 65535 f \n";
  for (const std::size_t place : places) {
    const std::string digits = std::to_string(place);
    table += std::string(10 - digits.size(), '0') + digits + " 00000 n \n";
  }
  return table;
}

}  // namespace

namespace PDXSampleDocuments {

PDXBytes pdf() {
  const std::string objects[] = {
      "<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>", kPage,
      "<< /Length " + std::to_string(kDrawing.size()) + " >>\nstream\n" + std::string(kDrawing) + "endstream",
      "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"};
  std::string file = "%PDF-1.4\n";
  std::vector<std::size_t> places;
  for (const std::string& object : objects) {
    places.push_back(file.size());
    file += std::to_string(places.size()) + " 0 obj\n" + object + "\nendobj\n";
  }
  const std::size_t table = file.size();
  file += crossReference(places);
  file += "trailer\n<< /Size " + std::to_string(places.size() + 1) + " /Root 1 0 R >>\nstartxref\n" +
          std::to_string(table) + "\n%%EOF\n";
  return bytesOf(file);
}

PDXBytes card() {
  return bytesOf(
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:O'Connell;Siobhán;;;\r\nFN:Siobhán O'Connell\r\n"
      "TEL;type=CELL;type=VOICE;type=pref:07700900104\r\nTEL;type=WORK;type=VOICE:020 7946 0104\r\n"
      "EMAIL;type=INTERNET;type=HOME;type=pref:siobhan.oconnell@example.com\r\nEND:VCARD\r\n");
}

PDXBytes location() {
  return bytesOf(
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:;Current Location;;;\r\nFN:Current Location\r\n"
      "item1.URL;type=pref:https://maps.example.com/?ll=50.260970\\,-5.050330&q=50.260970\\,-5.050330\r\n"
      "item1.X-ABLabel:map url\r\nEND:VCARD\r\n");
}

PDXBytes text() {
  return bytesOf(
      "Shopping list\n=============\n- bread & butter\n- 6 eggs (<7 days old!)\n- \"the good\" olive oil\n"
      "- crème fraîche\n");
}

PDXBytes clip() { return bytesOf(PDXSampleStores::clip_mp4); }

}  // namespace PDXSampleDocuments
