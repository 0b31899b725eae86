// The lazy getters of a DEM's grids: read or worked out on first use, left alone after that.

#include <array>
#include <cmath>
#include <vector>

#include "dem/input_raster.h"
#include "dem/naming.h"
#include "foundation/file_names.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "grid/arithmetic.h"
#include "grid/raster_header.h"
#include "grid/storage.h"
#include "grid/surface_raster.h"

namespace terrain {

namespace {

using Name = std::optional<std::string_view>;

void diagnose(std::string_view line) {
  if (demDiagnostics().on) putMessage(line);
}

int fault(std::string_view routine, std::string_view message) {
  return reportError({.routine = routine, .message1 = message});
}

// ---- rasters with a naming rule ----

/// How a run names an aspect raster that it saves; the getter's own prefix has no length tag.
constexpr std::string_view kSavedAspect = "aspect_";

struct GetterTexts {
  std::string_view routine;
  std::string_view opening;  // blank: not said
  std::string_view already;
  std::string_view prefix;
  std::string_view what;     // "Cannot find `what` raster file"
  bool tagged = true;        // the name carries the length tag
  std::string_view saved{};  // prefix of the same raster as a run saves it, with the length tag
};

constexpr GetterTexts kGrad{"GetGrad in DEM_Module", "Subroutine GetGrad: reading gradient file",
                            "Called GetGrad, but grad grid already exists", "grad_", "gradient"};
constexpr GetterTexts kPlan{"GetPlan in DEM_Module", "Subroutine GetPlan: reading plan curvature file",
                            "Called GetPlan, but plan grid already exists", "plan_", "plan curvature"};
constexpr GetterTexts kProf{"GetProf in DEM_Module", "", "Called GetProf, but plan grid already exists",
                            "prof_", "profile curvature"};
constexpr GetterTexts kBcon{"GetBcon in DEM_Module", "Subroutine GetBcon, reading Bcontour raster",
                            "Called GetBcon, but Bcon grid already exists", "bcon_", "Bcon"};
constexpr GetterTexts kArea{
    "GetArea in DEM_Module", "", "Called GetArea, but DA grid already exists", "accum_", "area", false};
constexpr GetterTexts kAspect{"GetAspect in DEM_Module",
                              "",
                              "Called GetAspect, but aspect grid already exists",
                              "ang_",
                              "aspect",
                              false,
                              kSavedAspect};

/// The prefixes to look for, tags included, in order: the rounded length first, then the length as a run
/// writes it, without its fraction.
std::vector<std::string> prefixesOf(const DEM_type& dem, const GetterTexts& texts, std::string_view rounded) {
  std::vector<std::string> prefixes;
  const auto withTags = [&](std::string_view prefix) {
    const std::string truncated = truncatedLengthName(dem.len_scale);
    prefixes.push_back(std::string(prefix).append(rounded));
    if (truncated != rounded) prefixes.push_back(std::string(prefix).append(truncated));
  };
  if (texts.tagged)
    withTags(texts.prefix);
  else
    prefixes.emplace_back(texts.prefix);
  if (!texts.saved.empty() && !isBlank(rounded)) withTags(texts.saved);
  return prefixes;
}

/// Settles the raster's name where none is known. -1, reported, where no raster is found.
int resolve(const DEM_type& dem, std::string& fileName, const GetterTexts& texts) {
  constexpr std::size_t tagLength = 10;
  const std::string tag(cut(dem.lengthName(), tagLength));
  if (texts.tagged && isBlank(tag))
    return fault(texts.routine,
                 "Need length scale to resolve " + std::string(texts.what) + " raster file name");
  fileName = findDerived(dem, prefixesOf(dem, texts, tag));
  return isBlank(fileName) ? fault(texts.routine, "Cannot find " + std::string(texts.what) + " raster file")
                           : kSuccess;
}

/// Reads a raster onto the extent of `like`. A grid that was flagged as on disk is read to disk.
int readOnto(const Grid_Header& like, R4Grid_type& grid, std::string_view name, std::string_view routine) {
  if (readRaster(grid, name, {.clipGrid = &like, .onDisk = grid.onDisk}) == kSuccess) return kSuccess;
  return fault(routine, "ReadGrid failed for " + std::string(stripped(name)));
}

int getRaster(DEM_type& dem, R4Grid_type& grid, std::string& fileName, const Name& name,
              const GetterTexts& texts) {
  Attempt attempt{dem.status};
  if (grid.GridExists()) {
    diagnose(texts.already);
    grid.status = kSuccess;
    return attempt.succeed();
  }
  grid.status = kFailure;
  if (!texts.opening.empty()) putMessage(texts.opening);
  if (name) fileName = std::string(stripped(*name));
  if (!isBlank(fileName))
    putMessage("  " + fileName);
  else if (resolve(dem, fileName, texts) != kSuccess)
    return kFailure;
  return readOnto(dem, grid, fileName, texts.routine) == kSuccess ? attempt.succeed() : kFailure;
}

/// The whole extent of the file that `grid` was cut from, in the DEM's units and moved by a part of a cell.
Grid_Header extentOfFile(const DEM_type& dem, const Grid_Header& grid, std::string_view name, double shift) {
  Grid_Header header;
  if (header.ReadHeader(rasterStem(name)) != kSuccess) return grid;
  if (dem.feetConverted) FeetToMeters(header);
  return header.Offset({.x = shift * header.xcellsize, .y = shift * header.ycellsize}) == kSuccess ? header
                                                                                                   : grid;
}

// ---- rasters that must match the DEM as they are ----

/// The three comparisons of a raster with the DEM, each with a message of its own.
int compareWithDEM(const DEM_type& dem, const Grid_Header& raster, std::string_view what,
                   std::string_view routine) {
  const auto differ = [&](std::string_view how) {
    return fault(routine, std::string(what) + " and DEM " + std::string(how));
  };
  if (raster.ncols != dem.ncols || raster.nrows != dem.nrows) return differ("size do not match");
  if (!sameR8(raster.cellsize, dem.cellsize)) return differ("cellsize does not match");
  if (!sameR8(raster.xmin, dem.xmin) || !sameR8(raster.ymin, dem.ymin))
    return differ("lower left corner do not match");
  return kSuccess;
}

struct MatchingTexts {
  std::string_view routine;
  std::string_view what;        // of the comparisons
  std::string_view readFailed;  // followed by the name
};

/// Reads a raster whole and holds it against the DEM; without cells where it does not match.
int readMatching(const DEM_type& dem, R4Grid_type& grid, std::string_view name, const MatchingTexts& texts) {
  if (readRaster(grid, name, {.onDisk = grid.onDisk}) != kSuccess)
    return fault(texts.routine, std::string(texts.readFailed).append(stripped(name)));
  if (dem.feetConverted) FeetToMeters(grid);
  if (compareWithDEM(dem, grid, texts.what, texts.routine) == kSuccess) return kSuccess;
  DestroyGrid(grid);
  return kFailure;
}

/// What the grids that are worked out from the elevations need.
int prepareSurface(DEM_type& dem, std::string_view routine) {
  if (!(dem.len_scale > 0)) return fault(routine, "DEM length scale unknown");
  if (!dem.elev.GridExists() && dem.GetElev() != kSuccess) return fault(routine, "GetElev failed");
  return kSuccess;
}

int planCurvatures(R4Grid_type& elev, float length, R4Grid_type& out) {
  std::vector<float> row;
  if (!tryAllocate(row, static_cast<std::size_t>(out.cols())))
    return cannotAllocate("GetPlanCurvature in DEM_Module", "row");
  const float none = out.GetNodataR4();
  for (int32_t r = 1; r <= out.rows(); ++r) {
    for (int32_t c = 1; c <= out.cols(); ++c) {
      float curvature = none;
      const bool there =
          elev.ExtractR4ValueColRow(c, r) != elev.GetNodataR4() &&
          elev.surfaceMetrics({.length = length, .col = c, .row = r, .plan = &curvature}) == kSuccess;
      row[static_cast<std::size_t>(c - 1)] = there ? curvature : none;
    }
    if (out.SetR4row(r, row) != kSuccess) return kFailure;
  }
  return kSuccess;
}

struct SurfaceTexts {
  MatchingTexts read;
  std::string_view calculating;
};
constexpr SurfaceTexts kSlope{{"GetSlope in DEM_Module", "Slope", "ReadGrid failed for "},
                              "  Calculating slope"};
constexpr SurfaceTexts kPlanCurvature{
    {"GetPlanCurvature in DEM_Module", "PlanCurvature", "ReadGrid failed for "},
    "  Calculating Plan Curvature"};

/// A grid that is read where a name is given and worked out by `compute(length, grid)` where none is.
template <class Compute>
R4Grid_type readOrCompute(DEM_type& dem, const Name& name, const SurfaceTexts& texts, Compute compute) {
  R4Grid_type grid;
  Attempt attempt{dem.status};
  int done = kSuccess;
  if (name) {
    if (!isBlank(*name)) done = readMatching(dem, grid, *name, texts.read);
  } else {
    done = prepareSurface(dem, texts.read.routine);
    if (done == kSuccess) {
      putMessage(texts.calculating);
      done = CreateGrid(grid, {.like = &dem});
      if (done == kSuccess) done = compute(static_cast<float>(dem.len_scale), grid);
      if (done != kSuccess && grid.ncols) DestroyGrid(grid);
    }
  }
  grid.status = done;
  if (done == kSuccess) attempt.succeed();
  return grid;
}

}  // namespace

// ---- faces ----

int DEM_type::GetGrad(Name name) { return getRaster(*this, grad, gradFile, name, kGrad); }
int DEM_type::GetPlan(Name name) { return getRaster(*this, plan, planFile, name, kPlan); }
int DEM_type::GetProf(Name name) { return getRaster(*this, prof, profFile, name, kProf); }
int DEM_type::GetBcon(Name name) { return getRaster(*this, bcon, bconFile, name, kBcon); }
int DEM_type::GetArea(Name name) { return getRaster(*this, DA, areaFile, name, kArea); }
int DEM_type::GetAspect(Name name) { return getRaster(*this, aspect, aspectFile, name, kAspect); }

int DEM_type::GetElev(const GetElevOptions& options) {
  constexpr std::string_view tag = "GetElev in DEM_Module";
  Attempt attempt{status};
  if (elev.GridExists()) {
    if (!options.overwrite) {
      diagnose("Called GetElev, but elev grid already exists");
      elev.status = kSuccess;
      return attempt.succeed();
    }
    diagnose("  Overwriting DEM");
  }
  elev.status = kFailure;

  std::string name(stripped(options.file.value_or("")));
  if (name.empty()) name = std::string(stripped(isBlank(refFile) ? file : refFile));
  if (!name.empty())
    putMessage("  " + name);
  else
    name = resolveName(kElevPrefix);
  if (name.empty()) return fault(tag, "Cannot find elevation grid");

  // The file lies where it lies: a shift that it is to get comes off the extent that it is cut to.
  Grid_Header extent = *this;
  if (options.halfCellShift && extent.Offset({.x = -xcellsize / 2, .y = -ycellsize / 2}) != kSuccess)
    return kFailure;
  if (readOnto(extent, elev, name, tag) != kSuccess) return kFailure;
  int done = kSuccess;
  if (units == 'f') done = scaleValid(elev, static_cast<float>(kMetersPerFoot), tag);
  if (done == kSuccess && options.halfCellShift) done = elev.Offset({.halfCell = true});
  if (done == kSuccess && !SameGridGeometry(*this, elev))
    done = reportMismatch(*this, extentOfFile(*this, elev, name, options.halfCellShift ? 0.5 : 0.0), name,
                          {.routine = tag, .message = "Elevation raster has different extent than DEM"});
  if (done != kSuccess) terrain::DestroyGrid(elev);
  elev.status = done;
  return done == kSuccess ? attempt.succeed() : kFailure;
}

int DEM_type::GetPin(Name name) {
  constexpr std::string_view tag = "GetPin in DEM_Module";
  Attempt attempt{status};
  if (pin.GridExists()) {
    diagnose("DestroyGrid for Pin");
    terrain::DestroyGrid(pin);
  }
  pin.status = kFailure;
  std::string pinFile(stripped(name.value_or("")));
  if (pinFile.empty()) {
    if (!(len_scale > 0)) return fault(tag, "DEM length scale unknown");
    constexpr double most = 99999.0;  // a field of 5
    if (std::round(len_scale) > most) return fault(tag, "Error reading DEM%len_scale");
    const auto named = [&](const std::string& length) {
      return withSeparator(path) + "pin_" + length + std::string(stripped(demID));
    };
    pinFile = named(lengthName());
    if (!rasterExists(pinFile) && rasterExists(named(truncatedLengthName(len_scale))))
      pinFile = named(truncatedLengthName(len_scale));
  }
  if (!rasterExists(rasterStem(pinFile)))
    return reportError({.routine = tag, .file = pinFile, .message1 = "Cannot find pin_ID grid"});
  const int done = readMatching(*this, pin, pinFile, {tag, "Pin", "ReadGridFile failed for "});
  pin.status = done;
  return done == kSuccess ? attempt.succeed() : kFailure;
}

R4Grid_type DEM_type::GetSlope(Name name) {
  return readOrCompute(*this, name, kSlope, [this](float length, R4Grid_type& grid) {
    return surfaceRasters(elev, length, {{&grid, SurfaceMetric::gradient}});
  });
}

R4Grid_type DEM_type::GetPlanCurvature(Name name) {
  return readOrCompute(*this, name, kPlanCurvature, [this](float length, R4Grid_type& grid) {
    return planCurvatures(elev, length, grid);
  });
}

int DEM_type::GetGEP(R4Grid_type& gep, const GEPFiles& files) {
  constexpr std::string_view tag = "GetGEP in DEM_Module";
  gep.status = kFailure;
  const auto load = [&](R4Grid_type& grid, std::string_view line, auto get, std::string_view message) {
    if (grid.GridExists()) return kSuccess;
    putMessage(line);
    return get() == kSuccess ? kSuccess : fault(tag, message);
  };
  int done = load(
      grad, "  Reading slope file", [&] { return GetGrad(files.slope); }, "GetGrad failed");
  if (done == kSuccess)
    done = load(
        pin, "  Reading PIN file", [&] { return GetPin(files.pin); }, "GetPin failed");
  if (done == kSuccess)
    done = load(
        bcon, "  Reading Bcontour file", [&] { return GetBcon(files.bcon); }, "Cannot find Bcon file");
  if (done == kSuccess) {
    putMessage("  Calculating GEP");
    for (R4Grid_type* grid : {&pin, &grad, &bcon})
      if (done == kSuccess && grid->SetRowAccess() != kSuccess) done = fault(tag, "SetRowAccess failed");
  }
  if (done == kSuccess) {
    R4Grid_type product = MultiplyR4Grids(pin, grad);
    done = product.status;
    if (done == kSuccess) {
      gep = DivideR4Grids(product, bcon);
      done = gep.status;
    }
  }
  if (done == kSuccess)
    for (R4Grid_type* grid : {&pin, &bcon, &grad}) terrain::DestroyGrid(*grid);
  return status = done;
}

int DEM_type::DestroyGrid(std::string_view name) {
  Attempt attempt{status};
  const auto destroy = [&](Grid_Header& grid, bool exists, std::string_view member) {
    if (exists) {
      diagnose("DestroyGrid for DEM%" + std::string(member));
      terrain::DestroyGrid(grid);
    }
    return attempt.succeed();
  };
  struct Member {
    std::string_view name;
    R4Grid_type& grid;
    std::string_view shown;
  };
  const std::array members{Member{"elev", elev, "elev"}, Member{"grad", grad, "grad"},
                           Member{"plan", plan, "plan"}, Member{"aspect", aspect, "aspect"},
                           Member{"bcon", bcon, "bcon"}, Member{"DA", DA, "DA"},
                           Member{"area", DA, "DA"},     Member{"accum", DA, "DA"}};
  for (const Member& member : members)
    if (equalPadded(name, member.name)) return destroy(member.grid, member.grid.GridExists(), member.shown);
  if (equalPadded(name, "D8")) return destroy(D8, D8.GridExists(), "D8");
  return fault("DestroyGrid in DEM_Module", "Unknown DEM grid type: " + std::string(trimmed(name)));
}

}  // namespace terrain
