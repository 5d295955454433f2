// Writes the seeds that depend on stream formats, by the writers themselves: voran_write_seeds fuzz/corpus

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "tools/voran/command_line.h"
#include "tools/voran/o2pls_command.h"
#include "tools/voran/ortho_command.h"
#include "tools/voran/pca_command.h"
#include "tools/voran/pls_command.h"
#include "tools/voran/wavelet_command.h"
#include "voran/cluster/dendrogram_node.h"
#include "voran/containers/bool_vector.h"
#include "voran/containers/string_vector.h"
#include "voran/models/pca.h"
#include "voran/models/pls.h"
#include "voran/orthogonal/opls_cross_validation.h"
#include "voran/orthogonal/y_orthogonal_pls.h"
#include "voran/preprocessing/scale.h"
#include "voran/preprocessing/transform.h"

namespace {

namespace fs = std::filesystem;
using Matrix = NCDataMatrix<float>;

std::ofstream Open(const fs::path& path) {
  fs::create_directories(path.parent_path());
  std::ofstream stream(path, std::ios::binary);
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  return stream;
}

void Write(const fs::path& path, const VStreamBase& object) {
  std::ofstream stream = Open(path);
  WriteStreamable(stream, object);
}

// Distinct small values, and a gap.
Matrix Made(int rows, int columns) {
  Matrix m(rows, columns, 0.0f);
  for (int i = 1; i <= rows; ++i) {
    for (int j = 1; j <= columns; ++j) m(i, j, static_cast<float>((i * i * 3 + j * 5 + i * j) % 13) - 6.0f);
  }
  m(1, columns, -99.0f);
  return m;
}

void WritePreprocessing(const fs::path& folder) {
  Matrix m = Made(5, 4);
  NCScale scale(4);
  for (int j = 1; j <= 4; ++j) scale.SetType(j, static_cast<NCScale::Scaling>(j));
  scale.ScaleMatrix(&m, true);
  Write(folder / "ncscale", scale);
  NCTransform transform(7);
  for (int j = 1; j <= 7; ++j) {
    transform[j].SetTransform(static_cast<TransformE::Transform>(j));
    for (int c = 1; c <= 3; ++c) transform[j].SetConstant(c, static_cast<float>(c));
  }
  Write(folder / "nctransform", transform);
  Write(folder / "transform_struct", transform[5]);
}

void WriteContainers(const fs::path& folder) {
  Write(folder / "ncdatavector_double", NCDataVector<double>{1.5, -99.0, 1e300});
  Write(folder / "ncdatamatrix_float", Made(3, 2));
  Write(folder / "ncdatamatrix_float__without_columns", Matrix(3, 0, 0.0f));
  Write(folder / "boolvector", BoolVector(5, true));
  Write(folder / "ncstringvector", NCStringVector(std::vector<std::string>{"a", "", "a longer name"}));
}

void WriteModels(const fs::path& folder) {
  const Matrix x = Made(4, 2);
  const Matrix y = Made(4, 2);
  NCPCA pca(&x, 20);
  NCPLS pls(&x, &y, 20);
  NCYOrthogonalPLS filter(&x, &y, 5, 1);
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  pca.CalculateResiduals();
  pls.NextComponent(nullptr, nullptr, true, false);
  pls.CalculateResiduals();
  filter.NextComponent(false);
  Write(folder / "ncpca", pca);
  Write(folder / "ncpls", pls);
  Write(folder / "yopls", filter);
  OPLSCrossValidation cv(&x, &y, 1, 2, nullptr, nullptr);
  std::ofstream first = Open(folder / "oplscvd__first");
  cv.GetData()->WriteObject(first);
  cv.NextComponent(nullptr);
  std::ofstream second = Open(folder / "oplscvd__orthogonal");
  cv.GetData()->WriteObject(second);
}

void WriteTree(const fs::path& folder) {
  using DendroGram::DendroGramNode;
  auto* const pair = new DendroGramNode(1.0f, new DendroGramNode(1), new DendroGramNode(3));
  const DendroGram::DendroGramPointer root(new DendroGramNode(2.5f, new DendroGramNode({2, 4}), pair));
  Write(folder / "dendro", *root);
}

void Run(const std::vector<std::string>& arguments) {
  tool::CommandLine program("voran", "", "");
  tool::AddPcaCommand(program);
  tool::AddPlsCommand(program);
  tool::AddOplsCommand(program);
  tool::AddYoplsCommand(program);
  tool::AddO2plsCommand(program);
  tool::AddWaveletCommand(program);
  program.Run(arguments);
}

// Through the program, as a user makes them.
void WriteSavedModels(const fs::path& folder) {
  const std::string table = (folder / "t.csv").string();
  Open(table) << "id,a,b,c,y,z\np,1,2,1,3,u\nq,2,1,2,5,v\nr,3,5,1,4,u\ns,5,4,4,9,v\nt,2,6,3,7,u\nv,1,1,5,2,v\n";
  const auto save = [&](const std::string& name, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin() + 1, table);
    arguments.insert(arguments.end(), {"--quiet", "--save", (folder / name).string()});
    Run(arguments);
  };
  save("pca", {"pca", "--components", "2", "--x", "a,b,c", "--transform", "a=log"});
  save("pls", {"pls", "--components", "1", "--y", "y", "--no-cv", "--exclude", "c,z"});
  save("pls__classes", {"pls", "--components", "1", "--y", "z", "--no-cv"});
  save("opls", {"opls", "--components", "1", "--y", "y", "--ortho", "1", "--no-cv", "--exclude", "c,z"});
  save("opls__plain", {"opls", "--components", "1", "--y", "y", "--ortho", "0", "--no-cv", "--exclude", "c,z"});
  save("yopls", {"yopls", "--components", "1", "--y", "y", "--y-ortho", "1", "--no-cv", "--exclude", "c,z"});
  save("o2pls",
       {"o2pls", "--components", "1", "--y", "y,c", "--ortho", "1", "--y-ortho", "0", "--no-cv", "--exclude", "z"});
  fs::remove(table);
}

void WriteWaveletForms(const fs::path& folder) {
  const std::string table = (folder / "t.csv").string();
  Open(table) << "id,a,b\np,1,2\nq,2,1\nr,3,5\ns,5,4\nt,2,6\n";
  for (const std::string flag : {"--pad", "--best-basis"}) {
    const fs::path out = folder / "out";
    Run({"wavelet", table, "--quiet", "--out", out.string(), flag});
    fs::rename(out / "summary.json", folder / flag.substr(2));
    fs::remove_all(out);
  }
  fs::remove(table);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: voran_write_seeds FOLDER\n";
    return EXIT_FAILURE;
  }
  const fs::path folder = argv[1];
  WriteContainers(folder / "stream");
  WritePreprocessing(folder / "stream");
  WriteModels(folder / "model_stream");
  WriteTree(folder / "model_stream");
  WriteSavedModels(folder / "saved_model");
  WriteWaveletForms(folder / "wavelet_form");
  return EXIT_SUCCESS;
}
