#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

#include "tests/faults/operation_data.h"
#include "tests/faults/operations.h"
#include "tests/signal/owned_filters.h"
#include "tools/voran/byte_source.h"
#include "tools/voran/csv_reader.h"
#include "tools/voran/failure.h"
#include "voran/containers/bool_vector.h"
#include "voran/models/pls.h"
#include "voran/platform/exception.h"
#include "voran/platform/folder_stream_source.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/threading_control.h"
#include "voran/preprocessing/scale.h"
#include "voran/preprocessing/transform.h"
#include "voran/signal/derivate.h"
#include "voran/signal/fft.h"
#include "voran/signal/wavelet.h"
#include "voran/statistics/contingency_table.h"
#include "voran/statistics/control_chart.h"
#include "voran/statistics/frequency_histogram.h"
#include "voran/statistics/roc.h"

namespace faults {
namespace {

namespace fs = std::filesystem;

/// The first column, 64 times as long.
Vector SeriesOf(const Shape& shape) {
  return GappedData({shape.rows * 64, 1, 1}).x.GetColumn(1);
}

Attempt BeginSpectrum(const Shape& shape) {
  const auto result = std::make_shared<Vector>(33, 0.0F);
  return {[x = SeriesOf(shape), result](NCProgress*) {
            FFT::PowerSpectrum(&x, 64, true, FFT::DetrendMode::kLinear, FFT::ScalingMode::kDensity,
                               FFT::DataWindowMode::kHann, result.get());
          },
          [result] { return BytesOf(*result); }};
}

Attempt BeginCorrelation(const Shape& shape) {
  const auto result = std::make_shared<Vector>(41, 0.0F);
  return {[x = SeriesOf(shape), result](NCProgress*) {
            FFT::CrossCorrelation(&x, &x, FFT::DetrendMode::kMean, 20, result.get());
          },
          [result] { return BytesOf(*result); }};
}

/// There and back, of the rows of a matrix, and in a best basis.
Attempt BeginWavelet(const Shape& shape) {
  const Matrix& x = GappedData(shape).x;
  return Fresh([&x](NCProgress*) {
    const Filters filters(Wavelet::GetDecompositionFilter(Wavelet::WaveletFunctionType::kSymmlet, 2));
    constexpr auto kDetrend = Wavelet::DetrendMode::kLinear;
    NCDataVector<double> means;
    NCDataVector<double> slopes;
    const std::unique_ptr<Matrix> rows(
        Wavelet::ForwardTransformObswise(&x, filters, kDetrend, means, slopes, nullptr, true));
    const std::unique_ptr<BoolVector> basis(Wavelet::FindBestBasisObswise(&x, filters, kDetrend));
    if (!rows || !basis) throw std::runtime_error("no transform");
    const std::unique_ptr<Matrix> best(
        Wavelet::ForwardTransformBestBasisObswise(&x, filters, basis.get(), kDetrend, means, slopes, nullptr));
    if (!best) throw std::runtime_error("no transform in the best basis");
    return BytesOf(*rows, *best);
  });
}

Attempt BeginSmoothing(const Shape& shape) {
  const Matrix& x = GappedData(shape).x;
  return Fresh([&x](NCProgress*) {
    const Derivate<float> derivate(Derivate<float>::PolynomialOrder::kCubic, 7);
    Matrix made(x.SizeRows(), x.SizeColumns(), 0.0F);
    derivate.Smooth(x, made, true);
    derivate.DoDerivate(made, made, 1, 0.5F, true);
    return BytesOf(made);
  });
}

Attempt BeginCharts(const Shape& shape) {
  return Fresh([x = SeriesOf(shape)](NCProgress*) {
    std::string bytes;
    for (const auto type : {ControlChart::kMeanRange, ControlChart::kMeanStdDev, ControlChart::kCuSum,
                            ControlChart::kEWMA, ControlChart::kIndividualEWMA}) {
      const ControlChart chart(type, x, 4, ControlChart::kPredictive);
      bytes += BytesOf(chart.GetMeanVector(), chart.GetTarget());
      if (type == ControlChart::kCuSum) bytes += BytesOf(chart.GetHighCuSum());
      if (type == ControlChart::kEWMA) bytes += BytesOf(chart.GetEWMA(), chart.GetEWMAUCL());
    }
    FrequencyHistogram::HistogramInfo bins;
    FrequencyHistogram().CreateHistogram(x, bins);
    BoolVector members;
    for (int i = 1; i <= x.Size(); ++i) members.push_back(i % 3 == 0);
    Vector truePositive;
    Vector falsePositive;
    Vector thresholds;
    Sta::GetROC(x, members, true, truePositive, falsePositive, thresholds);
    return bytes + BytesOf(bins.Frequencies, bins.BinCenters, truePositive, falsePositive);
  });
}

/// A table whose counts grow with the rows.
Attempt BeginFisher(const Shape& shape) {
  std::vector<int> table = {4, 1, 7, 2, 8, 3, 5, 3, 9, 2, 6, 4, 1, 7, 5, 6};
  for (int& count : table) count = count * shape.rows / 30;
  return Fresh([table](NCProgress*) {
    return BytesOf(Sta::GetFisherExactProbability(table.data(), 4, 4, false, Sta::SidedNess::kTwoSided, 2000000));
  });
}

Attempt BeginScaling(const Shape& shape) {
  const Matrix& x = GappedData(shape).x;
  return Fresh([&x](NCProgress*) {
    Matrix made(x);
    NCTransform transform(x.SizeColumns());
    transform[2].SetTransform(TransformE::kExponential);
    transform[2].SetConstant(1, 0.01F);
    transform[2].SetConstant(2, 0.0F);
    const std::unique_ptr<NCTransformErrors> errors(transform.TransformMatrixNoBreak(&made));
    NCScale scale(x.SizeColumns());
    for (int j = 1; j <= x.SizeColumns(); ++j) scale.SetType(j, NCScale::kUnitVariance);
    scale.ScaleMatrix(&made, true);
    return BytesOf(made);
  });
}

const NCPLS& StreamedModel() {
  static const XY& data = GappedData({});
  static NCPLS pls(&data.x, &data.y, 100);
  if (pls.GetComponents() == 0) pls.NextComponent(nullptr, nullptr, true, true);
  return pls;
}

Attempt BeginWriting(const Shape&) {
  return Fresh([&model = StreamedModel()](NCProgress*) {
    std::ostringstream stream;
    if (!WriteStreamable(stream, model)) throw VrStreamError();
    return stream.str();
  });
}

Attempt BeginReading(const Shape&) {
  std::ostringstream stream;
  WriteStreamable(stream, StreamedModel());
  const auto model = std::make_shared<NCPLS>();
  return {[model, bytes = stream.str()](NCProgress*) {
            std::istringstream in(bytes);
            if (!ReadStreamable(in, *model)) throw VrStreamError();
          },
          [model] { return BytesOf(*model->GetTprim(), *model->GetWprim(), *model->GetYResiduals()); }};
}

/// Of a directory that nobody closes: its destructor has to tell what it could not do.
Attempt BeginDirectory(const Shape&) {
  return Fresh([](NCProgress*) {
    std::ostringstream stream;
    {
      OutputStreamDirectory directory(stream, 2);
      for (unsigned short entry = 0; entry < 2; ++entry) directory.GetOutput(entry) << "entry " << entry;
    }
    if (!stream) throw VrStreamError();
    return stream.str();
  });
}

/// A folder of its own, which goes with it.
struct Folder {
  Folder() {
    std::string pattern = (fs::temp_directory_path() / "voran-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder");
    path = pattern;
  }
  ~Folder() { fs::remove_all(path); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  /// Names and contents, of hidden files, too.
  std::string Bytes() const {
    std::string bytes;
    for (const auto& file : fs::directory_iterator(path)) {
      const std::ifstream in(file.path(), std::ios::binary);
      std::ostringstream content;
      content << in.rdbuf();
      bytes += file.path().filename().string() + content.str();
    }
    return bytes;
  }

  fs::path path;
};

Attempt BeginFile(const Shape&) {
  const auto folder = std::make_shared<Folder>();
  std::ofstream(folder->path / "stream") << "old";
  return {[folder](NCProgress*) {
            FolderStreamSource source(folder->path);
            const auto stream = source.OpenOutput("stream");
            if (!stream) throw VrStreamError();
            *stream << "new";
          },
          [folder] { return folder->Bytes(); }};
}

/// In many stretches, by all threads.
Attempt BeginTable(const Shape& shape) {
  std::string text = "id";
  for (int c = 1; c <= shape.columns; ++c) text += ",c" + std::to_string(c);
  for (int i = 0; i < 10 * shape.rows; ++i) {
    text += "\nr" + std::to_string(i);
    for (int c = 1; c <= shape.columns; ++c) text += "," + std::to_string(i * 7919 % 1000) + ".5";
  }
  return Fresh([text = text + '\n'](NCProgress* progress) {
    tool::CsvOptions options;
    options.sampleBytes = 200;
    options.chunkBytes = 1000;
    options.control = {NCMultiThreading::ThreadingControl::GetNumberOfProcessors(), progress};
    const auto source = tool::SourceFromMemory(text);
    return BytesOf(tool::ReadCsv(*source, "", "t.csv", options).x);
  });
}

}  // namespace

const std::vector<Operation>& OtherOperations() {
  static const std::vector<Operation> operations = {
      {.name = "Spectrum",
       .begin = BeginSpectrum,
       .keeps = true,
       .memoryError = "Power spectrum could not be computed."},
      {.name = "Correlation", .begin = BeginCorrelation, .keeps = true, .mayDoNothing = true},
      {.name = "Wavelet", .begin = BeginWavelet},
      {.name = "Smoothing", .begin = BeginSmoothing},
      {.name = "Charts", .begin = BeginCharts},
      {.name = "Fisher", .begin = BeginFisher, .isCostly = true, .keeps = true, .stops = {{"Cancelled by the user."}}},
      {.name = "Scaling", .begin = BeginScaling},
      {.name = "Writing", .begin = BeginWriting, .keeps = true, .memoryError = ""},
      {.name = "Reading", .begin = BeginReading, .keeps = true, .memoryError = ""},
      {.name = "Directory", .begin = BeginDirectory, .keeps = true, .memoryError = ""},
      {.name = "File", .begin = BeginFile, .keeps = true},
      {.name = "Table", .begin = BeginTable, .isCostly = true, .stops = {{"cancelled"}}},
  };
  return operations;
}

Stop StopOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const NCError& error) {
    return {error.what(), static_cast<int>(error.GetLevel())};
  } catch (const CancelException& error) {
    return {error.what()};
  } catch (const tool::Failure& failure) {
    if (failure.Code() == tool::ExitCode::kCancelled) return {failure.what()};
    throw;
  }
  return {};
}

}  // namespace faults
