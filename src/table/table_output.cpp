#include "table/table_output.h"

#include <utility>

#include "foundation/status.h"

namespace terrain {

int TableOutput::add(Replacement& file, const std::string& target, Place place, Report report,
                     const std::function<IoCode()>& write) {
  Step step = Step::open;
  IoCode code = file.open(target);
  if (code == kIoOk) {
    step = Step::write;
    code = write();
  }
  if (code != kIoOk) {
    report(step, code);
    return kFailure;
  }
  entries_.insert(place == Place::first ? entries_.begin() : entries_.end(), {&file, std::move(report)});
  return kSuccess;
}

int TableOutput::add(const std::string& target, std::span<const std::byte> bytes, Report report) {
  Replacement& file = own();
  return add(file, target, Place::first, std::move(report), [&] { return file.file().writeAt(0, bytes); });
}

int TableOutput::addRemoval(const std::string& target, Report report) {
  Replacement& file = own();
  if (const IoCode code = file.openRemoval(target); code != kIoOk) {
    report(Step::open, code);
    return kFailure;
  }
  entries_.insert(entries_.begin(), {&file, std::move(report)});
  return kSuccess;
}

int TableOutput::commit() {
  std::vector<Replacement*> files;
  for (const Entry& entry : entries_) files.push_back(entry.file);
  const Replacement* failed = nullptr;
  const IoCode code = commitTogether(files, &failed);
  if (code == kIoOk) return kSuccess;
  for (const Entry& entry : entries_)
    if (entry.file == failed) entry.report(Step::commit, code);
  return kFailure;
}

}  // namespace terrain
