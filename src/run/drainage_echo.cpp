#include "run/drainage_echo.h"

#include "foundation/free_format.h"
#include "foundation/messages.h"

namespace terrain {

namespace {

void echoDEM(const DEM_type& dem) {
  if (demDiagnostics().on) putMessage("DEBUG is ON");
  putMessage("DEM file: " + dem.file);
  putMessage(freeText(dem.cols()) + " columns");
  putMessage(freeText(dem.rows()) + " rows");
  putMessage("Cellsize = ", dem.cellsize);
  putMessage("  nodata = ", dem.nodata);
  if (dem.flowMode.keepAngles) putMessage("Using existing flow direction file");
  if (dem.flowMode.smoothingLength > 0) {
    putMessage("Smoothed flow directions");
    putMessage("  Smoothing length (m) = ", dem.flowMode.smoothingLength);
  } else {
    putMessage("D-infinity flow directions");
  }
  putMessage("Closed depressions will be drained by carving");
}

void echoRepairs(const SurfaceRepairs& repairs) {
  putMessage(repairs.zeroIsNodata ? " Zero elevation values interpreted as nodata"
                                  : " Zero elevation values included");
  if (repairs.raiseNegatives) putMessage("Negative values set to zero");
  for (const NodataMask& mask : repairs.nodataMasks) putMessage("Nodata mask file: " + mask.file);
  if (repairs.lakes) putMessage("Hydroflatten lake mask: " + repairs.lakes->file);
  if (!repairs.drainPoints.empty())
    putMessage("Using closed depression drain points from " + repairs.drainPoints);
}

void echoMask(const ChannelMask& mask) {
  putMessage("Channel mask: " + mask.file);
  switch (mask.initiation) {
    case MaskInitiation::allow:
      putMessage(" Allow initiation");
      break;
    case MaskInitiation::force:
      putMessage(" Force initiation");
      break;
    case MaskInitiation::preclude:
    case MaskInitiation::open:
      break;
  }
  if (mask.selective) putMessage("Selective Enforcement for this channel mask");
  if (mask.directional)
    putMessage(mask.upstream ? "Directional enforcement going upstream"
                             : "Directional enforcement going downstream");
  if (mask.offset) putMessage(" Offset is on");
  if (!mask.top) return;
  putMessage("  Intiation will be enforced at the upper end of the channel mask");
  putMessage("    Top point radius (m): ", mask.top->radius);
}

void echoChannels(const ChannelMasks& channels) {
  for (const ChannelMask& mask : channels.masks) echoMask(mask);
  if (!channels.preferential) return;
  putMessage("Selective Drainage Enforcement will be used");
  putMessage("  Using preferential flow raster: " + channels.preferential->raster);
  putMessage("  Buffer = ", channels.preferential->buffer);
}

}  // namespace

void echoSettings(const DrainageRun& run) {
  echoDEM(run.DEM);
  echoRepairs(run.repairs);
  echoChannels(run.channels);
  if (run.d8.isOn()) putMessage("Flow paths will follow preferrential directions");
  echoInitiation(run.initiation);
}

}  // namespace terrain
