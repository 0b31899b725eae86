#include "grid/ground_unit.h"

#include <gtest/gtest.h>

namespace terrain {
namespace {

TEST(GroundUnit, IsToldByTheProjectionOrElseByTheNumbers) {
  const std::string geographic =
      R"(GEOGCS["WGS 84",DATUM["x (y]",SPHEROID["z",6378137,298.25]],UNIT["Degree",0.0174532925199433]])";
  const auto projected = [&](const std::string& unit) {
    return "PROJCS[\"p\"," + geographic + ",PARAMETER[\"False_Easting\",1640416.667],\n" + unit + "]";
  };
  const std::string vertical = R"(,VERT_CS["h",VERT_DATUM["d",2005],UNIT["foot",0.3048]]])";
  struct Case {
    std::vector<std::string> lines;
    double cellsize;
    GroundUnit unit;
  };
  for (const Case& c : {
           Case{{geographic}, 30, GroundUnit::degrees},
           {{projected(R"(UNIT["Meter",1.0])")}, 0.001, GroundUnit::metres},
           {{projected(R"(UNIT [ "US survey foot" , 0.304800609601219,AUTHORITY["EPSG","9003"]])")},
            30,
            GroundUnit::feet},
           {{projected(R"(UNIT["Foot",0.3048])")}, 30, GroundUnit::feet},
           {{projected(R"(UNIT["Link",0.201168])")}, 30, GroundUnit::unknown},
           {{"COMPD_CS[\"c\"," + projected(R"(UNIT["metre",1])") + vertical}, 30, GroundUnit::metres},
           {{"COMPD_CS[\"c\"," + geographic + vertical}, 30, GroundUnit::degrees},
           {{R"(PROJCRS["p",BASEGEOGCRS["g",DATUM["d",ELLIPSOID["e",6378137,298,LENGTHUNIT["metre",1]]]],)",
             R"(CONVERSION["c",PARAMETER["Easting",1,LENGTHUNIT["metre",1]]],CS[Cartesian,2],)",
             R"(AXIS["x",east,ORDER[1],LENGTHUNIT["US survey foot",0.304800609601219]]])"},
            30,
            GroundUnit::feet},
           {{R"(GEOGCRS["g",CS[ellipsoidal,2],AXIS["lat",north],ANGLEUNIT["degree",0.017]])"},
            30,
            GroundUnit::degrees},
           {{"Projection    GEOGRAPHIC", "Units DD"}, 30, GroundUnit::degrees},
           {{"Projection  UTM", "Zunits  FEET", "Units  meters"}, 0.001, GroundUnit::metres},
           {{"PROJECTION  STATEPLANE", "UNITS  FEET"}, 30, GroundUnit::feet},
           {{"[[(UNIT", "]]]])"}, 0.001, GroundUnit::unknown},
           {{"PROJCS[UNIT["}, 0.001, GroundUnit::unknown},
           {{}, 1.0 / 3600, GroundUnit::degrees},
           {{}, 30, GroundUnit::unknown},
       }) {
    Grid_Header header;
    CreateGridHeader(header, 4, 4, -120, 45, {.size = {.cellsize = c.cellsize}});
    header.projection.lines = c.lines;
    EXPECT_EQ(groundUnit(header), c.unit) << (c.lines.empty() ? "" : c.lines.front());
  }
  Grid_Header flume;  // small cells, but no degrees
  CreateGridHeader(flume, 4, 4, 500000, 45, {.size = {.cellsize = 0.005}});
  EXPECT_EQ(groundUnit(flume), GroundUnit::unknown);
}

}  // namespace
}  // namespace terrain
