#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "app/export/ExportOptions.h"
#include "app/export/ExportReport.h"

class PDXBackupInformation;
class PDXDeviceData;
class PDXMessageReader;
class PDXOutputFolder;
struct PDXContentKind;

/// Exports content kinds of one backup, with start page and report. The command runs it, and so will a
/// window.
///
/// First `prepare`, which reads what there is and finds mistakes in the options before anything is written;
/// then `run`.
class PDXExportJob {
 public:
  /// @param deviceData, information  of the opened backup; must outlive the job.
  PDXExportJob(PDXDeviceData& deviceData, const PDXBackupInformation& information, PDXExportOptions options);
  ~PDXExportJob();

  /// Loads the lists of what is to be exported. Nothing when all is well, else one line that says which of
  /// the options names something that is not there, and what comes near it, or why the output folder is not
  /// for this export.
  std::optional<std::string> prepare();

  /// Writes everything into the folder, which is made when it is missing and left to others at the end; once.
  /// One unreadable item never stops the rest; an output that cannot be written does, and so does a stop
  /// request. Start page and report are written first, marked as not complete, and again at the end.
  PDXExportReport run(const PDXProgressSink& progress, const std::stop_token& stop);

 private:
  bool takes_(const std::string& kind) const;
  void countRows_(PDXKindReport& kind) const;
  void sayIfLeftOut_(const PDXContentKind& kind, PDXExportReport& report) const;
  bool isConcerned_(const PDXContentKind& kind) const;
  bool takesWholeKind_(const std::string& kind) const;
  bool isThere_(const std::string& kind) const;
  void exportKinds_(PDXExportReport& report, const PDXProgressSink& progress, const std::stop_token& stop);
  bool writeOverview_(PDXExportReport& report) const;

  PDXDeviceData& deviceData_;
  const PDXBackupInformation& information_;
  PDXExportOptions options_;
  std::unique_ptr<PDXOutputFolder> output_;
  PDXProblemCollector problems_;
  std::unique_ptr<PDXMessageReader> messages_;
  bool hasMessages_ = false;
};
