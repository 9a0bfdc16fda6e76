#include "messages/ConversationHtmlStyle.h"

namespace {

std::string number(std::int32_t value) { return std::to_string(value); }

/// The rules in which both layouts agree; the repeated background and the bare numbers are what the pages of
/// all versions have.
class SharedRules {
 public:
  explicit SharedRules(const PDXMessageFontSizes& sizes) : sizes_(sizes) {}

  std::string body(const char* margin) const {
    return std::string("body { margin:") + margin +
           "; font-family:Verdana, Geneva, sans-serif; font-size:" + number(sizes_.textSize) +
           "px; text-align:left; line-height:" + number(sizes_.headerSize) +
           "px; background-color:ffffff; }\r\n";
  }

  std::string heading() const {
    return "h1 { font-family:Verdana, Geneva, sans-serif; font-weight:600; font-size:" +
           number(sizes_.headerSize) + "px; line-height:normal; margin-bottom:5px; }\r\n";
  }

  std::string messageInfo(const char* padding) const {
    return ".messageinfo { font-size:" + number(sizes_.subTextSize) +
           "px; color:#000; margin-bottom:2px; padding:" + padding + "; }\r\n";
  }

  static std::string receiveInfo(const std::string& margin) {
    return ".messageinfo.receive { margin-left:" + margin + "px; }\r\n";
  }

  static std::string received(const std::string& margin, const char* right) {
    return ".message.receive { background:#e5e4e4; margin-left:" + margin + "px; margin-right:" + right +
           "; border:1px solid #e5e4e4; }\r\n";
  }

  static std::string sentColours() {
    return ".message.sent.sms { background:#BFF343; border:1px solid #BFF343; }\r\n"
           ".message.sent.imessage { background:#98c7ff; border:1px solid #98c7ff; }\r\n";
  }

  static std::string boxes() {
    return ".noMessagesInDateRange { background-color:#DDD; padding:20px; margin-left:auto; "
           "margin-right:auto; "
           "margin-top:50px; width:80%; text-align:center; }\r\n"
           ".pageIndex { padding:2px; width:100%; }\r\n";
  }

  std::string dateStamp(const char* margin) const {
    return ".dateStamp { text-align:center; color:gray; font-size:" + number(sizes_.subTextSize) +
           "px; border-bottom:1px solid gray; margin: " + margin + "; width:50%; }\r\n";
  }

  static std::string statusMessage(const std::string& size, const char* margin) {
    return ".statusMessage { text-align:center; color:gray; font-size:" + size + "px; margin:" + margin +
           "; }\r\n";
  }

  static std::string contactImage(const std::string& size, const char* top) {
    return ".contactImage { float:left; width:" + size + "px; height:" + size + "px; margin-top:" + top +
           "; background-color:#ECECEC; -webkit-border-radius:50%; -moz-border-radius:50%; "
           "border-radius:50%; }\r\n";
  }

 private:
  PDXMessageFontSizes sizes_;
};

std::string compactRules(const PDXMessageFontSizes& sizes, bool withImages) {
  const SharedRules shared(sizes);
  const std::string margin = withImages ? "28" : "0";
  std::string rules =
      shared.body("4") + shared.heading() + ".messageinfo.sent { text-align:left; margin-left:5%; }\r\n" +
      shared.messageInfo("0px 0px 0px 6px") + SharedRules::receiveInfo(margin) +
      ".message { position:relative; padding:4px; background:#075698; -webkit-border-radius:4px; "
      "-moz-border-radius:4px; border-radius:4px; background:#BFF343; margin-bottom:10px; }\r\n" +
      SharedRules::received(margin, "5%") +
      ".message.sent { margin-left:5%; margin-right:0px; border:1px solid #BFF343; }\r\n" +
      SharedRules::sentColours() + SharedRules::boxes() + shared.dateStamp("8px 0px 4px 0px") +
      SharedRules::statusMessage(number(sizes.textSize), "4px 0px 4px 0px");
  if (withImages) rules += SharedRules::contactImage("24", "-1px");
  return rules;
}

/// The tails that point from a bubble to its speaker.
constexpr const char* kTails =
    ".message:after {content:\"\"; position:absolute; bottom:-20px; left:50px; border-width:20px 0 0 20px; "
    "border-style:solid; border-color:#BFF343 transparent; display:block; width:0; }\r\n"
    ".message.receive:after { top:16px; left:-20px; bottom:auto; border-width:15px 20px 0 0; "
    "border-color:transparent #e5e4e4; }\r\n"
    ".message.sent:after { top:16px; right:-20px; bottom:auto; left:auto; border-width:15px 0 0 20px; "
    "border-color:transparent #BFF343; }\r\n"
    ".message.sent.imessage:after { border-color:transparent #98c7ff; }\r\n";

std::string bubbleRules(const PDXMessageFontSizes& sizes, bool withImages) {
  const SharedRules shared(sizes);
  const std::string margin = withImages ? "72" : "20";
  std::string rules =
      shared.body("10") + shared.heading() + ".messageinfo.sent { text-align:left; margin-left:20%; }\r\n" +
      shared.messageInfo("0px 0px 0px 15px") + SharedRules::receiveInfo(margin) +
      ".message { position:relative; padding:15px; background:#075698; -webkit-border-radius:10px; "
      "-moz-border-radius:10px; border-radius:10px; background:#BFF343; margin-left:20%; margin-right:20px; "
      "margin-bottom:20px; }\r\n" +
      SharedRules::received(margin, "20%") +
      ".message.sent { margin-left:20%; margin-right:20px; border:1px solid #BFF343; }\r\n" +
      SharedRules::sentColours() + kTails + SharedRules::boxes() + shared.dateStamp("40px 0px 20px 0px") +
      SharedRules::statusMessage("12", "4px 0px 16px 0px");
  if (withImages) rules += SharedRules::contactImage("48", "2px");
  return rules;
}

}  // namespace

std::string PDXConversationHtmlStyle::rules(const PDXConversationExportOptions& options) {
  const PDXMessageFontSizes sizes(options.fontSizeStyle);
  return options.exportLayout == 1 ? compactRules(sizes, options.includeContactImages)
                                   : bubbleRules(sizes, options.includeContactImages);
}
