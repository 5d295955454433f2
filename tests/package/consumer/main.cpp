#include <iostream>

#include <voran/voran.h>

int main() {
  const NCDataMatrix<float> data(3, 2, 1.0f);
  NCPCA model(&data, 100);
  model.NextComponent(nullptr, nullptr, 0, nullptr);
#ifdef BAD
  NCDataMatrix<float>* loadings = model.GetPprim();  // what a model hands out is not for its host to change
#else
  const NCDataMatrix<float>* loadings = model.GetPprim();
#endif
  std::cout << voran::GetVersion() << ": " << model.GetComponents() << " component, " << loadings->SizeColumns()
            << " loadings\n";
}
