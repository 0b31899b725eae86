// Every published operation of the grid types is declared under its name.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace {

std::string textOf(const std::string& header) {
  std::ifstream in(TERRAIN_SOURCE_DIR "/src/grid/" + header);
  return {std::istreambuf_iterator<char>(in), {}};
}

struct Vocabulary {
  const char* type;
  const char* names;
};

TEST(PublishedNames, EveryOperationOfTheGridTypesIsDeclared) {
  const std::string text = textOf("grid.h") + textOf("geometry.h") + textOf("header.h");
  const std::string core = textOf("grid_core.h");
  const Vocabulary vocabularies[] = {
      {"R4Grid_type",
       "bufferR4 SetR4CellColRow SetR4CellXY SetR4row setWindowR4 ExtractR4ValueXY "
       "ExtractR4ValueColRow ExtractR4row ExtractR4Window ExtractR4Neighbours WritefltR4 "
       "scalarMultiplyR4 scalarDivideR4 MultiplyR4 AddR4Grid SubtractR4Grid scalarAddR4 "
       "ValueMinusR4Grid cloneR4 MinR4 MaxR4 MinR4At SetToMinR4 SetToMaxR4 SetNegativeR4 "
       "SetPositiveR4 AddR4 SubtractR4 multiplyCellR4 GridExists surfaceMetricsZTC PlanXY "
       "Mean3x3R4 Min3x3R4 resetNodataValueR4 GetNodataR4 R4MaskByRow R4MaskWithBuffer R4Mask "
       "quantileR4 meanR4 meanWindowR4 CountValid Flood_R4queue SetAllR4 SetNonPositiveToNodata "
       "FlagThreshold SetR4List SubsampleR4 FillHoles SubsetR4 SmoothR4 R4GridCopy greaterThanR4 "
       "SteepestNeighbour Evans3x3 maxWindowR4 LogR4 FloodZeroToNodata "},
      {"R8Grid_type",
       "SetR8Cell SetR8Row ExtractR8ValueXY extractR8ValueColRow ExtractR8row ExtractR8Window "
       "setWindowR8 multiplyWindowR8 scalarMultiplyR8 ValueMinusR8Grid R8GridMinusValue GridExists "
       "R8MaskByRow AddR8 multiplyCellR8 GetNodataR8 cloneR8 resetNodataValueR8 WritefltR8 MinR8 "},
      {"I4Grid_type",
       "SetI4Cell SetI4CellXY SetI4row ExtractI4ValueXY ExtractI4ValueColRow ExtractI4row buffer "
       "WritefltI4 WriteIntI4 cloneI4 MinI4 maxI4 CountNonZeroI4 ExtractI4Neighbours "
       "ExtractI4Window setWindowI4 setWindowMaxI4 FloodI4 Flood_I4queue SetI4Negative GridExists "
       "AddColRowI4 GetNodataI4 I4MaskByRow I4MaskWithBuffer I4Mask AbsValI4 SetPositiveI4 "
       "SetNegativeI4 SetValidI4 SubsetI4 MergeWindowI4 GrowI4 ThinI4 I4GridCopy distanceTo "},
      {"I8Grid_type",
       "cloneI8 SetI8CellColRow SetI8CellXY SetI8row ExtractI8ValueXY ExtractI8ValueColRow "
       "ExtractI8row SetI8Negative AbsValI8 WritefltI8 WriteIntI8 ExtractI8Window setWindowI8 "
       "ExtractI8WindowList ExtractI8Neighbours GridExists GetNodataI8 Flood_I8queue buffer maxI8 "
       "AddColRowI8 SetPositiveI8 I8Mask I8MaskByRow I8MaskWithBuffer NearestValidI8 "},
      {"I1Grid_type",
       "ExtractI1ValueColRow SetI1Cell SetI1Row setWindowI1 ExtractI1Row MaxI1 AddColRowI1 "
       "WritefltI1 GetNodataI1 GridExists SetAllI1 writeBIL "},
      {"I2Grid_type", "SetI2row ExtractI2Row WritefltI2 WriterstI2 GetNodataI2 GridExists "},
      {"GridGeometry",
       "InitializeHeader XYtoColRow NearestColRow ColRowToXY CellArea MetersToFeet GetExtent "
       "HeaderExists NearestColRowOpen "},
      {"Grid_Header",
       "writeBILheader ReadHeader clipLine SetRowAccess SetCellAccess WriteGridHeader SetNodata "
       "GetNodata Offset SetVersion "},
  };
  for (const auto& [type, names] : vocabularies) {
    const std::size_t keyword = std::min(text.find("class " + std::string(type) + " : "),
                                         text.find("struct " + std::string(type) + " {"));
    ASSERT_NE(keyword, std::string::npos) << type;
    const std::string body = text.substr(keyword, text.find("\n};", keyword) - keyword);
    std::istringstream words(names);
    for (std::string name; words >> name;)
      EXPECT_NE((body + core).find(name.insert(0, " ").append("(")), std::string::npos)
          << type << "::" << name;
  }
}

}  // namespace
