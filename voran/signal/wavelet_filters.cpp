// Made by voran/signal/filters/make_wavelet_filters.py from wavelet_filters.json, which names the sources.

#include "voran/signal/wavelet_filters.h"

inline namespace voran {
namespace detail {
namespace {

// clang-format off
constexpr float kBeylkinLowPass1[] = {
    0.0f, 0.0993057654f, 0.424215361f, 0.699825214f, 0.449718251f, -0.110927598f, -0.264497231f, 0.0269003088f,
    0.155538732f, -0.0175207463f, -0.0885436306f, 0.019679866f, 0.0429163873f, -0.0174604087f, -0.014365808f,
    0.0100404118f, 0.00148423478f, -0.00273603163f, 0.000640485329f};
constexpr int kBeylkinLengths[] = {0, 18};
constexpr const float* kBeylkinLowPassFilters[] = {
    nullptr, kBeylkinLowPass1};
constexpr float kCoifletLowPass1[] = {
    0.0f, 0.0163873365f, -0.0414649368f, -0.0673725547f, 0.386110067f, 0.812723635f, 0.417005184f, -0.0764885991f,
    -0.0594344186f, 0.0236801719f, 0.00561143482f, -0.00182320887f, -0.000720549446f};
constexpr float kCoifletLowPass2[] = {
    0.0f, -0.00379351286f, 0.00778259643f, 0.0234526961f, -0.0657719113f, -0.06112339f, 0.405176902f, 0.793777223f,
    0.428483476f, -0.0717998216f, -0.0823019271f, 0.0345550276f, 0.0158805449f, -0.00900797614f, -0.00257451769f,
    0.00111751877f, 0.00046621696f, -7.09833025e-05f, -3.45997732e-05f};
constexpr float kCoifletLowPass3[] = {
    0.0f, 0.000892313903f, -0.00162949243f, -0.00734616794f, 0.0160689471f, 0.0266823047f, -0.0812667102f,
    -0.0560773196f, 0.415308427f, 0.782238934f, 0.434386033f, -0.0666274724f, -0.0962204245f, 0.0393344226f,
    0.0250822533f, -0.0152117282f, -0.0056582838f, 0.0037514347f, 0.00126656108f, -0.000589020225f,
    -0.000259974337f, 6.23388543e-05f, 3.12298616e-05f, -3.25964794e-06f, -1.78499091e-06f};
constexpr float kCoifletLowPass4[] = {
    0.0f, -0.000212081862f, 0.000358577741f, 0.00217829438f, -0.00415931263f, -0.0101315848f, 0.0234083221f,
    0.0281697443f, -0.0919215881f, -0.0520466703f, 0.421571267f, 0.774293623f, 0.437982307f, -0.0620377516f,
    -0.105563151f, 0.0412875305f, 0.0326747995f, -0.0197583916f, -0.00915950734f, 0.00676152022f, 0.00243157544f,
    -0.0016616273f, -0.000637558926f, 0.000301857942f, 0.000140356328f, -4.12198619e-05f, -2.12702217e-05f,
    3.70072771e-06f, 2.0612204e-06f, -1.62379952e-07f, -9.60401011e-08f};
constexpr int kCoifletLengths[] = {0, 12, 18, 24, 30};
constexpr const float* kCoifletLowPassFilters[] = {
    nullptr, kCoifletLowPass1, kCoifletLowPass2, kCoifletLowPass3, kCoifletLowPass4};
constexpr float kDaubechiesLowPass1[] = {
    0.0f, 0.482962913f, 0.836516304f, 0.224143868f, -0.129409523f};
constexpr float kDaubechiesLowPass2[] = {
    0.0f, 0.332670553f, 0.806891509f, 0.459877502f, -0.13501102f, -0.0854412739f, 0.0352262919f};
constexpr float kDaubechiesLowPass3[] = {
    0.0f, 0.230377813f, 0.714846571f, 0.630880768f, -0.0279837694f, -0.187034812f, 0.0308413818f, 0.0328830117f,
    -0.0105974018f};
constexpr float kDaubechiesLowPass4[] = {
    0.0f, 0.160102398f, 0.60382927f, 0.724308528f, 0.138428146f, -0.242294887f, -0.0322448696f, 0.0775714938f,
    -0.00624149021f, -0.012580752f, 0.00333572529f};
constexpr float kDaubechiesLowPass5[] = {
    0.0f, 0.111540743f, 0.49462389f, 0.751133908f, 0.315250352f, -0.226264694f, -0.129766868f, 0.0975016056f,
    0.0275228655f, -0.0315820393f, 0.000553842201f, 0.00477725751f, -0.00107730109f};
constexpr float kDaubechiesLowPass6[] = {
    0.0f, 0.0266700579f, 0.1881768f, 0.527201189f, 0.688459039f, 0.281172344f, -0.249846424f, -0.195946274f,
    0.12736934f, 0.0930573646f, -0.0713941472f, -0.0294575368f, 0.0332126741f, 0.00360655357f, -0.0107331755f,
    0.00139535175f, 0.0019924053f, -0.000685856695f, -0.000116466855f, 9.35886703e-05f, -1.32642029e-05f};
constexpr float kDaubechiesLowPass7[] = {
    0.0f, 0.000134802979f, 0.00225695959f, 0.0171867413f, 0.0780358629f, 0.231693508f, 0.459683415f, 0.581636897f,
    0.367885075f, -0.097174641f, -0.33647308f, -0.0875876146f, 0.22453782f, 0.118155287f, -0.150560214f,
    -0.0985086153f, 0.106633805f, 0.0667521645f, -0.0770841111f, -0.0371739629f, 0.0536179094f, 0.0155426059f,
    -0.0340423205f, -0.00307983679f, 0.0189228045f, -0.00198942578f, -0.00886070262f, 0.00272693626f,
    0.00332270777f, -0.00184248429f, -0.000899977424f, 0.000877258194f, 0.000115321244f, -0.000309880099f,
    3.54371452e-05f, 7.90464e-05f, -2.73304812e-05f, -1.27719529e-05f, 8.99066139e-06f, 5.23282771e-07f,
    -1.77920133e-06f, 3.21203752e-07f, 1.92280679e-07f, -8.65694173e-08f, -2.61159856e-09f, 9.27922448e-09f,
    -1.88041576e-09f, -2.22847491e-10f, 1.53590157e-10f, -2.52762516e-11f, 1.50969208e-12f};
constexpr int kDaubechiesLengths[] = {0, 4, 6, 8, 10, 12, 20, 50};
constexpr const float* kDaubechiesLowPassFilters[] = {
    nullptr, kDaubechiesLowPass1, kDaubechiesLowPass2, kDaubechiesLowPass3, kDaubechiesLowPass4,
    kDaubechiesLowPass5, kDaubechiesLowPass6, kDaubechiesLowPass7};
constexpr float kSymmletLowPass1[] = {
    0.0f, -0.107148901f, -0.0419109651f, 0.703739069f, 1.13665824f, 0.421234534f, -0.140317624f, -0.0178247014f,
    0.0455703459f};
constexpr float kSymmletLowPass2[] = {
    0.0f, 0.0217847003f, 0.00493661237f, -0.166863215f, -0.0683231216f, 0.694457973f, 1.11389278f, 0.477904371f,
    -0.10272497f, -0.0297837513f, 0.0632505627f, 0.00249992209f, -0.0110318675f};
constexpr float kSymmletLowPass3[] = {
    0.0f, 0.00267279339f, -0.0004283943f, -0.0211456865f, 0.00538638875f, 0.0694904659f, -0.0384935213f,
    -0.0734625088f, 0.51539867f, 1.09910663f, 0.680745347f, -0.0866536154f, -0.202648655f, 0.0107586118f,
    0.044823623f, -0.000766690896f, -0.00478345851f};
constexpr float kSymmletLowPass4[] = {
    0.0f, 0.00108917045f, 0.00013524502f, -0.0122206426f, -0.00207236392f, 0.0649509246f, 0.0164188694f,
    -0.225558972f, -0.100240215f, 0.667071338f, 1.08825153f, 0.542813011f, -0.0502565403f, -0.0452407723f,
    0.0707035676f, 0.00815281678f, -0.0287862319f, -0.00113753531f, 0.00649572838f, 8.0661203e-05f, -0.000649589897f};
constexpr int kSymmletLengths[] = {0, 8, 12, 16, 20};
constexpr const float* kSymmletLowPassFilters[] = {
    nullptr, kSymmletLowPass1, kSymmletLowPass2, kSymmletLowPass3, kSymmletLowPass4};
constexpr float kBiorthogonal1Decomposition1[] = {
    0.0f, 0.707106781f, 0.707106781f};
constexpr float kBiorthogonal1Reconstruction1[] = {
    0.0f, 0.707106781f, 0.707106781f};
constexpr float kBiorthogonal1Decomposition2[] = {
    0.0f, -0.0883883476f, 0.0883883476f, 0.707106781f, 0.707106781f, 0.0883883476f, -0.0883883476f};
constexpr float kBiorthogonal1Reconstruction2[] = {
    0.0f, 0.0f, 0.0f, 0.707106781f, 0.707106781f, 0.0f, 0.0f};
constexpr float kBiorthogonal1Decomposition3[] = {
    0.0f, 0.0165728152f, -0.0165728152f, -0.121533978f, 0.121533978f, 0.707106781f, 0.707106781f, 0.121533978f,
    -0.121533978f, -0.0165728152f, 0.0165728152f};
constexpr float kBiorthogonal1Reconstruction3[] = {
    0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.707106781f, 0.707106781f, 0.0f, 0.0f, 0.0f, 0.0f};
constexpr int kBiorthogonal1Lengths[] = {0, 2, 6, 10};
constexpr const float* kBiorthogonal1DecompositionFilters[] = {
    nullptr, kBiorthogonal1Decomposition1, kBiorthogonal1Decomposition2, kBiorthogonal1Decomposition3};
constexpr const float* kBiorthogonal1ReconstructionFilters[] = {
    nullptr, kBiorthogonal1Reconstruction1, kBiorthogonal1Reconstruction2, kBiorthogonal1Reconstruction3};
constexpr float kBiorthogonal2Decomposition1[] = {
    0.0f, -0.176776695f, 0.353553391f, 1.06066017f, 0.353553391f, -0.176776695f, 0.0f};
constexpr float kBiorthogonal2Reconstruction1[] = {
    0.0f, 0.0f, 0.353553391f, 0.707106781f, 0.353553391f, 0.0f, 0.0f};
constexpr float kBiorthogonal2Decomposition2[] = {
    0.0f, 0.0331456304f, -0.0662912607f, -0.176776695f, 0.419844651f, 0.994368911f, 0.419844651f, -0.176776695f,
    -0.0662912607f, 0.0331456304f, 0.0f};
constexpr float kBiorthogonal2Reconstruction2[] = {
    0.0f, 0.0f, 0.0f, 0.0f, 0.353553391f, 0.707106781f, 0.353553391f, 0.0f, 0.0f, 0.0f, 0.0f};
constexpr float kBiorthogonal2Decomposition3[] = {
    0.0f, -0.00690533966f, 0.0138106793f, 0.0469563097f, -0.107723299f, -0.169871356f, 0.44746601f, 0.966747552f,
    0.44746601f, -0.169871356f, -0.107723299f, 0.0469563097f, 0.0138106793f, -0.00690533966f, 0.0f};
constexpr float kBiorthogonal2Reconstruction3[] = {
    0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.353553391f, 0.707106781f, 0.353553391f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
constexpr float kBiorthogonal2Decomposition4[] = {
    0.0f, 0.00151054305f, -0.0030210861f, -0.0129475119f, 0.0289161098f, 0.0529984819f, -0.134913074f,
    -0.163829183f, 0.46257144f, 0.951642122f, 0.46257144f, -0.163829183f, -0.134913074f, 0.0529984819f,
    0.0289161098f, -0.0129475119f, -0.0030210861f, 0.00151054305f, 0.0f};
constexpr float kBiorthogonal2Reconstruction4[] = {
    0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.353553391f, 0.707106781f, 0.353553391f, 0.0f, 0.0f, 0.0f,
    0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
constexpr int kBiorthogonal2Lengths[] = {0, 6, 10, 14, 18};
constexpr const float* kBiorthogonal2DecompositionFilters[] = {
    nullptr, kBiorthogonal2Decomposition1, kBiorthogonal2Decomposition2, kBiorthogonal2Decomposition3,
    kBiorthogonal2Decomposition4};
constexpr const float* kBiorthogonal2ReconstructionFilters[] = {
    nullptr, kBiorthogonal2Reconstruction1, kBiorthogonal2Reconstruction2, kBiorthogonal2Reconstruction3,
    kBiorthogonal2Reconstruction4};
constexpr float kBiorthogonal3Decomposition1[] = {
    0.0f, -0.353553391f, 1.06066017f, 1.06066017f, -0.353553391f};
constexpr float kBiorthogonal3Reconstruction1[] = {
    0.0f, 0.176776695f, 0.530330086f, 0.530330086f, 0.176776695f};
constexpr float kBiorthogonal3Decomposition2[] = {
    0.0f, 0.0662912607f, -0.198873782f, -0.154679608f, 0.994368911f, 0.994368911f, -0.154679608f, -0.198873782f,
    0.0662912607f};
constexpr float kBiorthogonal3Reconstruction2[] = {
    0.0f, 0.0f, 0.0f, 0.176776695f, 0.530330086f, 0.530330086f, 0.176776695f, 0.0f, 0.0f};
constexpr float kBiorthogonal3Decomposition3[] = {
    0.0f, -0.0138106793f, 0.041432038f, 0.0524805814f, -0.267927179f, -0.0718155325f, 0.966747552f, 0.966747552f,
    -0.0718155325f, -0.267927179f, 0.0524805814f, 0.041432038f, -0.0138106793f};
constexpr float kBiorthogonal3Reconstruction3[] = {
    0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.176776695f, 0.530330086f, 0.530330086f, 0.176776695f, 0.0f, 0.0f, 0.0f, 0.0f};
constexpr float kBiorthogonal3Decomposition4[] = {
    0.0f, 0.0030210861f, -0.0090632583f, -0.0168317654f, 0.0746639851f, 0.0313329787f, -0.301159126f,
    -0.0264992409f, 0.951642122f, 0.951642122f, -0.0264992409f, -0.301159126f, 0.0313329787f, 0.0746639851f,
    -0.0168317654f, -0.0090632583f, 0.0030210861f};
constexpr float kBiorthogonal3Reconstruction4[] = {
    0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.176776695f, 0.530330086f, 0.530330086f, 0.176776695f, 0.0f, 0.0f,
    0.0f, 0.0f, 0.0f, 0.0f};
constexpr float kBiorthogonal3Decomposition5[] = {
    0.0f, -0.000679744373f, 0.00203923312f, 0.00506031922f, -0.0206189126f, -0.0141127879f, 0.0991347825f,
    0.0123001363f, -0.320191968f, 0.00205002271f, 0.942125701f, 0.942125701f, 0.00205002271f, -0.320191968f,
    0.0123001363f, 0.0991347825f, -0.0141127879f, -0.0206189126f, 0.00506031922f, 0.00203923312f, -0.000679744373f};
constexpr float kBiorthogonal3Reconstruction5[] = {
    0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.176776695f, 0.530330086f, 0.530330086f, 0.176776695f,
    0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
constexpr int kBiorthogonal3Lengths[] = {0, 4, 8, 12, 16, 20};
constexpr const float* kBiorthogonal3DecompositionFilters[] = {
    nullptr, kBiorthogonal3Decomposition1, kBiorthogonal3Decomposition2, kBiorthogonal3Decomposition3,
    kBiorthogonal3Decomposition4, kBiorthogonal3Decomposition5};
constexpr const float* kBiorthogonal3ReconstructionFilters[] = {
    nullptr, kBiorthogonal3Reconstruction1, kBiorthogonal3Reconstruction2, kBiorthogonal3Reconstruction3,
    kBiorthogonal3Reconstruction4, kBiorthogonal3Reconstruction5};
constexpr float kBiorthogonal4Decomposition1[] = {
    0.0f, 0.0378284555f, -0.023849465f, -0.110624404f, 0.377402856f, 0.852698679f, 0.377402856f, -0.110624404f,
    -0.023849465f, 0.0378284555f, 0.0f};
constexpr float kBiorthogonal4Reconstruction1[] = {
    0.0f, 0.0f, -0.0645388826f, -0.0406894176f, 0.418092273f, 0.788485616f, 0.418092273f, -0.0406894176f,
    -0.0645388826f, 0.0f, 0.0f};
constexpr int kBiorthogonal4Lengths[] = {0, 10};
constexpr const float* kBiorthogonal4DecompositionFilters[] = {
    nullptr, kBiorthogonal4Decomposition1};
constexpr const float* kBiorthogonal4ReconstructionFilters[] = {
    nullptr, kBiorthogonal4Reconstruction1};
constexpr float kBiorthogonal5Decomposition1[] = {
    0.0f, 0.0f, 0.0396870883f, 0.00794810864f, -0.0544637885f, 0.345605282f, 0.736660181f, 0.345605282f,
    -0.0544637885f, 0.00794810864f, 0.0396870883f, 0.0f, 0.0f};
constexpr float kBiorthogonal5Reconstruction1[] = {
    0.0f, 0.0134567095f, -0.00269496688f, -0.136706585f, -0.0935046974f, 0.476803266f, 0.89950611f, 0.476803266f,
    -0.0935046974f, -0.136706585f, -0.00269496688f, 0.0134567095f, 0.0f};
constexpr int kBiorthogonal5Lengths[] = {0, 12};
constexpr const float* kBiorthogonal5DecompositionFilters[] = {
    nullptr, kBiorthogonal5Decomposition1};
constexpr const float* kBiorthogonal5ReconstructionFilters[] = {
    nullptr, kBiorthogonal5Reconstruction1};
constexpr float kBiorthogonal6Decomposition1[] = {
    0.0f, 0.00190883174f, -0.00191428613f, -0.0169906399f, 0.0119345653f, 0.0497329035f, -0.0772631732f,
    -0.0940592035f, 0.420796285f, 0.825922997f, 0.420796285f, -0.0940592035f, -0.0772631732f, 0.0497329035f,
    0.0119345653f, -0.0169906399f, -0.00191428613f, 0.00190883174f, 0.0f};
constexpr float kBiorthogonal6Reconstruction1[] = {
    0.0f, 0.0f, 0.0f, 0.0f, 0.0144262825f, 0.0144675049f, -0.0787220011f, -0.040367979f, 0.417849109f, 0.758907729f,
    0.417849109f, -0.040367979f, -0.0787220011f, 0.0144675049f, 0.0144262825f, 0.0f, 0.0f, 0.0f, 0.0f};
constexpr int kBiorthogonal6Lengths[] = {0, 18};
constexpr const float* kBiorthogonal6DecompositionFilters[] = {
    nullptr, kBiorthogonal6Decomposition1};
constexpr const float* kBiorthogonal6ReconstructionFilters[] = {
    nullptr, kBiorthogonal6Reconstruction1};
// clang-format on

}  // namespace

const WaveletFamily kWaveletFamilies[kNumWaveletFamilies] = {
    {kBeylkinLowPassFilters, nullptr, kBeylkinLengths, 1},
    {kCoifletLowPassFilters, nullptr, kCoifletLengths, 4},
    {kDaubechiesLowPassFilters, nullptr, kDaubechiesLengths, 7},
    {kSymmletLowPassFilters, nullptr, kSymmletLengths, 4},
    {kBiorthogonal1DecompositionFilters, kBiorthogonal1ReconstructionFilters, kBiorthogonal1Lengths, 3},
    {kBiorthogonal2DecompositionFilters, kBiorthogonal2ReconstructionFilters, kBiorthogonal2Lengths, 4},
    {kBiorthogonal3DecompositionFilters, kBiorthogonal3ReconstructionFilters, kBiorthogonal3Lengths, 5},
    {kBiorthogonal4DecompositionFilters, kBiorthogonal4ReconstructionFilters, kBiorthogonal4Lengths, 1},
    {kBiorthogonal5DecompositionFilters, kBiorthogonal5ReconstructionFilters, kBiorthogonal5Lengths, 1},
    {kBiorthogonal6DecompositionFilters, kBiorthogonal6ReconstructionFilters, kBiorthogonal6Lengths, 1},
};

}  // namespace detail
}  // namespace voran
