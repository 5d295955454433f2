#include "tools/voran/model_file.h"

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <system_error>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/component_figures.h"
#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/model_kind.h"
#include "tools/voran/number_text.h"
#include "voran/platform/exception.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_entry.h"
#include "voran/platform/stream_values.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// The entries of the directory.
enum Entry : unsigned short {
  kHead,
  kNames,
  kYNames,
  kTransforms,
  kYTransforms,
  kW,
  kP,
  kC,
  kFurther,
  kClasses,
  kEntries
};

// Names are kept byte by byte; JSON takes UTF-8 alone.

void WriteNames(const std::vector<std::string>& names, std::ostream& stream) {
  const auto count = static_cast<std::int32_t>(names.size());
  WriteFourBytes(&count, 1, stream);
  for (const std::string& name : names) WriteBinaryString(name, stream);
}

std::vector<std::string> ReadNames(std::istream& stream) {
  std::int32_t count = 0;
  detail::RequireRead(ReadFourBytes(&count, 1, stream) && count >= 0);
  std::vector<std::string> names;
  for (std::int32_t i = 0; i < count; ++i) detail::RequireRead(ReadBinaryString(names.emplace_back(), stream));
  return names;
}

Json ToJson(const PreparedColumns& columns) {
  Json centres = Json::array();
  Json weights = Json::array();
  for (const ColumnScale& scale : columns.scales) {
    centres.push_back(scale.centre);
    weights.push_back(scale.weight);
  }
  return {{"centres", std::move(centres)},
          {"weights", std::move(weights)},
          {"unit", columns.unit},
          {"dropped", DroppedJson(columns.dropped)}};
}

// All of these throw a JSON exception for what is not as ToJson() makes it.

PreparedColumns ColumnsFrom(const Json& json, std::vector<std::string> names) {
  PreparedColumns columns;
  columns.names = std::move(names);
  const auto centres = json.at("centres").get<std::vector<double>>();
  const auto weights = json.at("weights").get<std::vector<double>>();
  detail::RequireRead(centres.size() == columns.names.size() && weights.size() == columns.names.size());
  for (std::size_t k = 0; k < centres.size(); ++k) columns.scales.push_back({centres[k], weights[k]});
  json.at("unit").get_to(columns.unit);
  for (const Json& dropped : json.at("dropped")) {
    columns.dropped.emplace_back(dropped.at("name").get<std::string>(), dropped.at("reason").get<std::string>());
  }
  return columns;
}

double NumberFrom(const Json& json) {
  return json.is_null() ? kNoValue : json.get<double>();
}

Json ToJson(const ModelSpread& spread) {
  Json variances = Json::array();
  for (const double variance : spread.scoreVariances) variances.push_back(NumberOrNull(variance));
  return {{"residual", NumberOrNull(spread.residual)}, {"score_variances", std::move(variances)}};
}

ModelSpread SpreadFrom(const Json& json) {
  ModelSpread spread;
  spread.residual = NumberFrom(json.at("residual"));
  for (const Json& variance : json.at("score_variances")) spread.scoreVariances.push_back(NumberFrom(variance));
  return spread;
}

void WriteMatrices(const std::vector<NCDataMatrix<float>>& matrices, std::ostream& stream) {
  const auto count = static_cast<std::int32_t>(matrices.size());
  WriteFourBytes(&count, 1, stream);
  for (const NCDataMatrix<float>& matrix : matrices) detail::WriteMember(stream, matrix);
}

std::vector<NCDataMatrix<float>> ReadMatrices(std::istream& stream) {
  std::int32_t count = 0;
  detail::RequireRead(ReadFourBytes(&count, 1, stream) && count >= 0);
  std::vector<NCDataMatrix<float>> matrices;
  for (std::int32_t i = 0; i < count; ++i) {
    detail::ReadMember(stream, matrices.emplace_back());
    detail::RequireRead(stream.good());
  }
  return matrices;
}

void WriteClasses(const std::vector<ClassResponses>& columns, std::ostream& stream) {
  const auto count = static_cast<std::int32_t>(columns.size());
  WriteFourBytes(&count, 1, stream);
  for (const ClassResponses& column : columns) {
    const auto first = static_cast<std::int32_t>(column.first);
    WriteBinaryString(column.name, stream);
    WriteFourBytes(&first, 1, stream);
    WriteNames(column.classes, stream);
  }
}

std::vector<ClassResponses> ReadClasses(std::istream& stream, std::size_t responses) {
  std::int32_t count = 0;
  detail::RequireRead(ReadFourBytes(&count, 1, stream) && count >= 0);
  std::vector<ClassResponses> columns;
  for (std::int32_t i = 0; i < count; ++i) {
    ClassResponses& column = columns.emplace_back();
    std::int32_t first = 0;
    detail::RequireRead(ReadBinaryString(column.name, stream) && ReadFourBytes(&first, 1, stream) && first >= 0);
    column.first = static_cast<std::size_t>(first);
    column.classes = ReadNames(stream);
    detail::RequireRead(!column.classes.empty() && column.first + column.classes.size() <= responses);
  }
  return columns;
}

// What holds for models of every kind.
bool FitTogether(const SavedModel& m) {
  return m.W.SizeRows() > 0 && m.spread.scoreVariances.size() >= m.Components() && !m.x.names.empty() &&
         m.x.transforms.Size() == static_cast<int>(m.x.names.size()) &&
         m.y.transforms.Size() == static_cast<int>(m.y.names.size()) && HasShape(m.W, m.Components(), m.x.names) &&
         HasShape(m.P, m.Components(), m.x.names) && HasShape(m.C, m.Components(), m.y.names);
}

}  // namespace

bool HasShape(const NCDataMatrix<float>& matrix, std::size_t rows, const std::vector<std::string>& columns) {
  const bool hasRows = matrix.SizeRows() == static_cast<int>(rows);
  return hasRows && (rows == 0 || matrix.SizeColumns() == static_cast<int>(columns.size()));
}

SavedModel::DerivedStreamableData SavedModel::MyStreamableData(1, "voran model");

bool SavedModel::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, kEntries);
  Json head = {{"kind", kind},
               {"x", ToJson(x)},
               {"y", ToJson(y)},
               {"spread", ToJson(spread)},
               {"summary", Json::parse(summary)}};
  if (ySpread) head["y_spread"] = ToJson(*ySpread);
  WriteBinaryString(head.dump(-1, ' ', false, Json::error_handler_t::replace), directory.GetOutput(kHead));
  WriteNames(x.names, directory.GetOutput(kNames));
  WriteNames(y.names, directory.GetOutput(kYNames));
  detail::WriteMember(directory.GetOutput(kTransforms), x.transforms);
  detail::WriteMember(directory.GetOutput(kYTransforms), y.transforms);
  detail::WriteMember(directory.GetOutput(kW), W);
  detail::WriteMember(directory.GetOutput(kP), P);
  detail::WriteMember(directory.GetOutput(kC), C);
  if (!further.empty()) WriteMatrices(further, directory.GetOutput(kFurther));
  if (!classes.empty()) WriteClasses(classes, directory.GetOutput(kClasses));
  return directory.Close() && stream.good();
}

bool SavedModel::VStreamableRead(std::istream& stream) try {
  if (!VStreamableReadBasesOfMyVersion(stream)) return false;
  InputStreamDirectory directory(stream);
  SavedModel read;
  std::string text;
  detail::RequireRead(ReadBinaryString(text, detail::RequiredEntry(directory, kHead)));
  const Json head = Json::parse(text);
  head.at("kind").get_to(read.kind);
  read.x = ColumnsFrom(head.at("x"), ReadNames(detail::RequiredEntry(directory, kNames)));
  read.y = ColumnsFrom(head.at("y"), ReadNames(detail::RequiredEntry(directory, kYNames)));
  read.spread = SpreadFrom(head.at("spread"));
  if (head.contains("y_spread")) read.ySpread = SpreadFrom(head.at("y_spread"));
  read.summary = ToText(head.at("summary"));
  detail::ReadObjectEntry(directory, kTransforms, read.x.transforms);
  detail::ReadObjectEntry(directory, kYTransforms, read.y.transforms);
  detail::ReadObjectEntry(directory, kW, read.W);
  detail::ReadObjectEntry(directory, kP, read.P);
  detail::ReadObjectEntry(directory, kC, read.C);
  if (std::istream* const entry = directory.GetInput(kFurther)) read.further = ReadMatrices(*entry);
  if (std::istream* const entry = directory.GetInput(kClasses)) {
    read.classes = ReadClasses(*entry, read.y.names.size());
  }
  detail::RequireRead(directory.Close() && stream.good() && FitTogether(read));
  *this = std::move(read);
  return true;
} catch (const VrStreamError&) {
  return false;
} catch (const Json::exception&) {
  return false;
}

void WriteModel(std::ostream& out, const SavedModel& model) {
  if (!WriteStreamable(out, model)) out.setstate(std::ios::failbit);
}

SavedModel ReadModel(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw BadData(fmt::format("{}: cannot be opened: {}", path, std::generic_category().message(errno)));
  }
  return ReadModel(in, path);
}

SavedModel ReadModel(std::istream& in, const std::string& path) {
  if (!SavedModel::MyStreamableData.Check(in)) {
    throw BadData(path +
                  ": is no model, or it is damaged at its beginning; give a file that --save of voran pls, or of "
                  "another command that fits models, has written");
  }
  if (SavedModel::MyStreamableData.GetVStreamVersionNumber() !=
      SavedModel::MyStreamableData.GetMyVStreamVersionNumber()) {
    throw BadData(path + ": was written by another version of voran; fit the model again");
  }
  in.seekg(0);
  SavedModel model;
  const bool isRead = ReadStreamable(in, model);
  const ModelKind* const kind = FindModelKind(model.kind);
  if (isRead && kind == nullptr) {
    throw BadData(fmt::format("{}: is a model of the kind {}, which this version of voran does not know", path,
                              Quoted(model.kind)));
  }
  if (!isRead || !kind->isWhole(model)) throw BadData(path + ": is cut off or damaged; fit the model again");
  return model;
}

}  // namespace tool
