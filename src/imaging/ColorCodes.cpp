// The 8-bit half of Color.h. It needs nothing but its tables, so that the codec modules can hold it too.

#include <array>
#include <bit>
#include <cstddef>

#include "imaging/Color.h"

namespace ornolith {

namespace {

// The float nearest to the linear value of each code, from arithmetic with 60 decimal digits.
constexpr std::array<float, 256> linearOfCode{
    0x0p0F,          0x1.3e4568p-12F, 0x1.3e4568p-11F, 0x1.dd681cp-11F, 0x1.3e4568p-10F, 0x1.8dd6c2p-10F,
    0x1.dd681cp-10F, 0x1.167cbap-9F,  0x1.3e4568p-9F,  0x1.660e14p-9F,  0x1.8dd6c2p-9F,  0x1.b6a31cp-9F,
    0x1.e1e31ep-9F,  0x1.07c38cp-8F,  0x1.1fcc2cp-8F,  0x1.390ffap-8F,  0x1.53936cp-8F,  0x1.6f5adep-8F,
    0x1.8c6a94p-8F,  0x1.aac6cp-8F,   0x1.ca7382p-8F,  0x1.eb74e2p-8F,  0x1.06e76cp-7F,  0x1.18c2a6p-7F,
    0x1.2b4e0ap-7F,  0x1.3e8b7cp-7F,  0x1.527cd6p-7F,  0x1.6723eep-7F,  0x1.7c8292p-7F,  0x1.929a88p-7F,
    0x1.a96d92p-7F,  0x1.c0fd68p-7F,  0x1.d94bbep-7F,  0x1.f25a44p-7F,  0x1.061552p-6F,  0x1.135f3ep-6F,
    0x1.210bb8p-6F,  0x1.2f1b8cp-6F,  0x1.3d8f84p-6F,  0x1.4c6866p-6F,  0x1.5ba6fap-6F,  0x1.6b4c04p-6F,
    0x1.7b5842p-6F,  0x1.8bcc74p-6F,  0x1.9ca958p-6F,  0x1.adefaap-6F,  0x1.bfa02p-6F,   0x1.d1bb74p-6F,
    0x1.e4425ap-6F,  0x1.f73586p-6F,  0x1.054ad4p-5F,  0x1.0f31bap-5F,  0x1.194fccp-5F,  0x1.23a55ep-5F,
    0x1.2e32c8p-5F,  0x1.38f86p-5F,   0x1.43f678p-5F,  0x1.4f2d64p-5F,  0x1.5a9d76p-5F,  0x1.664702p-5F,
    0x1.722a56p-5F,  0x1.7e47c8p-5F,  0x1.8a9fa4p-5F,  0x1.97323ap-5F,  0x1.a3ffd8p-5F,  0x1.b108dp-5F,
    0x1.be4d6cp-5F,  0x1.cbcdfap-5F,  0x1.d98ac6p-5F,  0x1.e7841cp-5F,  0x1.f5ba48p-5F,  0x1.0216cap-4F,
    0x1.096f26p-4F,  0x1.10e65cp-4F,  0x1.187c9p-4F,   0x1.2031e8p-4F,  0x1.280688p-4F,  0x1.2ffa92p-4F,
    0x1.380e2ap-4F,  0x1.404174p-4F,  0x1.489494p-4F,  0x1.5107acp-4F,  0x1.599adep-4F,  0x1.624e4ep-4F,
    0x1.6b221ep-4F,  0x1.74167p-4F,   0x1.7d2b66p-4F,  0x1.86612p-4F,   0x1.8fb7cp-4F,   0x1.992f68p-4F,
    0x1.a2c83ap-4F,  0x1.ac8256p-4F,  0x1.b65ddcp-4F,  0x1.c05aecp-4F,  0x1.ca79a8p-4F,  0x1.d4ba3p-4F,
    0x1.df1ca2p-4F,  0x1.e9a12p-4F,   0x1.f447cap-4F,  0x1.ff10bcp-4F,  0x1.04fe0cp-3F,  0x1.0a84fep-3F,
    0x1.101d44p-3F,  0x1.15c6eep-3F,  0x1.1b8208p-3F,  0x1.214ea6p-3F,  0x1.272cd4p-3F,  0x1.2d1ca2p-3F,
    0x1.331e1ep-3F,  0x1.393158p-3F,  0x1.3f566p-3F,   0x1.458d42p-3F,  0x1.4bd60ep-3F,  0x1.5230d4p-3F,
    0x1.589dap-3F,   0x1.5f1c84p-3F,  0x1.65ad8ap-3F,  0x1.6c50c4p-3F,  0x1.73063ep-3F,  0x1.79ce06p-3F,
    0x1.80a82ep-3F,  0x1.8794cp-3F,   0x1.8e93ccp-3F,  0x1.95a55ep-3F,  0x1.9cc986p-3F,  0x1.a40052p-3F,
    0x1.ab49cep-3F,  0x1.b2a60ap-3F,  0x1.ba1512p-3F,  0x1.c196f4p-3F,  0x1.c92bbep-3F,  0x1.d0d37cp-3F,
    0x1.d88e3ep-3F,  0x1.e05c0ep-3F,  0x1.e83cfcp-3F,  0x1.f03116p-3F,  0x1.f83866p-3F,  0x1.00297ep-2F,
    0x1.044072p-2F,  0x1.086116p-2F,  0x1.0c8b7p-2F,   0x1.10bf86p-2F,  0x1.14fd6p-2F,   0x1.194502p-2F,
    0x1.1d9676p-2F,  0x1.21f1bep-2F,  0x1.2656e4p-2F,  0x1.2ac5ecp-2F,  0x1.2f3edep-2F,  0x1.33c1cp-2F,
    0x1.384e98p-2F,  0x1.3ce56cp-2F,  0x1.418642p-2F,  0x1.46312p-2F,   0x1.4ae60ep-2F,  0x1.4fa51p-2F,
    0x1.546e2cp-2F,  0x1.59416cp-2F,  0x1.5e1edp-2F,   0x1.630664p-2F,  0x1.67f82ap-2F,  0x1.6cf428p-2F,
    0x1.71fa68p-2F,  0x1.770aecp-2F,  0x1.7c25bcp-2F,  0x1.814adcp-2F,  0x1.867a54p-2F,  0x1.8bb428p-2F,
    0x1.90f86p-2F,   0x1.9647p-2F,    0x1.9ba01p-2F,   0x1.a10394p-2F,  0x1.a67192p-2F,  0x1.abea1p-2F,
    0x1.b16d14p-2F,  0x1.b6faa4p-2F,  0x1.bc92c6p-2F,  0x1.c2357ep-2F,  0x1.c7e2d2p-2F,  0x1.cd9acap-2F,
    0x1.d35d6ap-2F,  0x1.d92ab6p-2F,  0x1.df02b8p-2F,  0x1.e4e57p-2F,   0x1.ead2e8p-2F,  0x1.f0cb26p-2F,
    0x1.f6ce2cp-2F,  0x1.fcdcp-2F,    0x1.017a56p-1F,  0x1.048c18p-1F,  0x1.07a34ap-1F,  0x1.0abfeep-1F,
    0x1.0de208p-1F,  0x1.11099ap-1F,  0x1.1436a8p-1F,  0x1.176932p-1F,  0x1.1aa13ep-1F,  0x1.1ddecap-1F,
    0x1.2121dep-1F,  0x1.246a7ap-1F,  0x1.27b8ap-1F,   0x1.2b0c54p-1F,  0x1.2e6598p-1F,  0x1.31c46ep-1F,
    0x1.3528dcp-1F,  0x1.3892ep-1F,   0x1.3c028p-1F,   0x1.3f77bcp-1F,  0x1.42f29ap-1F,  0x1.467318p-1F,
    0x1.49f93ep-1F,  0x1.4d850ap-1F,  0x1.511682p-1F,  0x1.54ada4p-1F,  0x1.584a78p-1F,  0x1.5becfep-1F,
    0x1.5f9538p-1F,  0x1.634328p-1F,  0x1.66f6d4p-1F,  0x1.6ab03ap-1F,  0x1.6e6f6p-1F,   0x1.723448p-1F,
    0x1.75fef4p-1F,  0x1.79cf64p-1F,  0x1.7da59ep-1F,  0x1.8181a4p-1F,  0x1.856378p-1F,  0x1.894b1cp-1F,
    0x1.8d3892p-1F,  0x1.912bdep-1F,  0x1.9525p-1F,    0x1.9923fep-1F,  0x1.9d28d8p-1F,  0x1.a13392p-1F,
    0x1.a5442cp-1F,  0x1.a95aacp-1F,  0x1.ad771p-1F,   0x1.b1995ep-1F,  0x1.b5c198p-1F,  0x1.b9efbep-1F,
    0x1.be23d4p-1F,  0x1.c25ddep-1F,  0x1.c69ddcp-1F,  0x1.cae3d2p-1F,  0x1.cf2fcp-1F,   0x1.d381aap-1F,
    0x1.d7d994p-1F,  0x1.dc377ep-1F,  0x1.e09b6ap-1F,  0x1.e5055cp-1F,  0x1.e97556p-1F,  0x1.edeb5cp-1F,
    0x1.f2676cp-1F,  0x1.f6e98cp-1F,  0x1.fb71bcp-1F,  0x1p0F,
};

// For each code from 1, the least float whose encoding rounds to it: the linear value of (code - 0.5) / 255 from
// arithmetic with 60 decimal digits, rounded up to a float. No float is exactly half-way between two codes.
constexpr std::array<float, 255> leastLinearOfCode{
    0x1.3e4568p-13F, 0x1.dd681cp-12F, 0x1.8dd6c2p-11F, 0x1.167cbcp-10F, 0x1.660e16p-10F, 0x1.b59f7p-10F, 0x1.029866p-9F,
    0x1.2a6112p-9F,  0x1.5229bep-9F,  0x1.79f26cp-9F,  0x1.a1e5a2p-9F,  0x1.cbf736p-9F,  0x1.f86806p-9F, 0x1.13a0cp-8F,
    0x1.2c4666p-8F,  0x1.46297ap-8F,  0x1.614e62p-8F,  0x1.7db96ep-8F,  0x1.9b6edap-8F,  0x1.ba72cep-8F, 0x1.dac95ep-8F,
    0x1.fc768cp-8F,  0x1.0fbf22p-7F,  0x1.21f236p-7F,  0x1.34d664p-7F,  0x1.486d9p-7F,   0x1.5cb98ep-7F, 0x1.71bc34p-7F,
    0x1.877748p-7F,  0x1.9dec9p-7F,   0x1.b51dc8p-7F,  0x1.cd0ca8p-7F,  0x1.e5bae2p-7F,  0x1.ff2a1ep-7F, 0x1.0cae04p-6F,
    0x1.1a291ep-6F,  0x1.28072cp-6F,  0x1.3648f8p-6F,  0x1.44ef4cp-6F,  0x1.53fafp-6F,   0x1.636ca6p-6F, 0x1.73453p-6F,
    0x1.838552p-6F,  0x1.942dc6p-6F,  0x1.a53f48p-6F,  0x1.b6ba96p-6F,  0x1.c8a064p-6F,  0x1.daf16ap-6F, 0x1.edae5cp-6F,
    0x1.006bf8p-5F,  0x1.0a3768p-5F,  0x1.1439d8p-5F,  0x1.1e73ap-5F,   0x1.28e514p-5F,  0x1.338e8ap-5F, 0x1.3e7058p-5F,
    0x1.498acep-5F,  0x1.54de44p-5F,  0x1.606b08p-5F,  0x1.6c316ep-5F,  0x1.7831c8p-5F,  0x1.846c64p-5F, 0x1.90e194p-5F,
    0x1.9d91a4p-5F,  0x1.aa7ce6p-5F,  0x1.b7a3a6p-5F,  0x1.c5063p-5F,   0x1.d2a4d4p-5F,  0x1.e07fdcp-5F, 0x1.ee9794p-5F,
    0x1.fcec48p-5F,  0x1.05bf2p-4F,   0x1.0d26e4p-4F,  0x1.14ad96p-4F,  0x1.1c5356p-4F,  0x1.24184ep-4F, 0x1.2bfc9ep-4F,
    0x1.34006ap-4F,  0x1.3c23d8p-4F,  0x1.446708p-4F,  0x1.4cca2p-4F,   0x1.554d4p-4F,   0x1.5df08ep-4F, 0x1.66b42ap-4F,
    0x1.6f9836p-4F,  0x1.789cd6p-4F,  0x1.81c228p-4F,  0x1.8b0852p-4F,  0x1.946f72p-4F,  0x1.9df7acp-4F, 0x1.a7a11ep-4F,
    0x1.b16beap-4F,  0x1.bb5832p-4F,  0x1.c56614p-4F,  0x1.cf95b2p-4F,  0x1.d9e72ap-4F,  0x1.e45aap-4F,  0x1.eef02ep-4F,
    0x1.f9a7f8p-4F,  0x1.02410ep-3F,  0x1.07bf5cp-3F,  0x1.0d4ef6p-3F,  0x1.12efecp-3F,  0x1.18a24cp-3F, 0x1.1e6628p-3F,
    0x1.243b8ap-3F,  0x1.2a2286p-3F,  0x1.301b2ap-3F,  0x1.362584p-3F,  0x1.3c41a2p-3F,  0x1.426f96p-3F, 0x1.48af6cp-3F,
    0x1.4f0132p-3F,  0x1.5564fap-3F,  0x1.5bdadp-3F,   0x1.6262c2p-3F,  0x1.68fcep-3F,   0x1.6fa938p-3F, 0x1.7667d8p-3F,
    0x1.7d38cep-3F,  0x1.841c2ap-3F,  0x1.8b11f6p-3F,  0x1.921a44p-3F,  0x1.99352p-3F,   0x1.a06298p-3F, 0x1.a7a2bap-3F,
    0x1.aef594p-3F,  0x1.b65b34p-3F,  0x1.bdd3a8p-3F,  0x1.c55efcp-3F,  0x1.ccfd3ep-3F,  0x1.d4ae7cp-3F, 0x1.dc72c4p-3F,
    0x1.e44a22p-3F,  0x1.ec34a4p-3F,  0x1.f43258p-3F,  0x1.fc434ap-3F,  0x1.0233c4p-2F,  0x1.064f8ep-2F, 0x1.0a750cp-2F,
    0x1.0ea444p-2F,  0x1.12dd3ap-2F,  0x1.171ff8p-2F,  0x1.1b6c82p-2F,  0x1.1fc2ep-2F,   0x1.242316p-2F, 0x1.288d2cp-2F,
    0x1.2d012ap-2F,  0x1.317f12p-2F,  0x1.3606eep-2F,  0x1.3a98c4p-2F,  0x1.3f3498p-2F,  0x1.43da7p-2F,  0x1.488a56p-2F,
    0x1.4d444cp-2F,  0x1.52085cp-2F,  0x1.56d688p-2F,  0x1.5baedap-2F,  0x1.609154p-2F,  0x1.657ep-2F,   0x1.6a74e2p-2F,
    0x1.6f76p-2F,    0x1.748162p-2F,  0x1.79970ap-2F,  0x1.7eb702p-2F,  0x1.83e14ep-2F,  0x1.8915f2p-2F, 0x1.8e54f8p-2F,
    0x1.939e64p-2F,  0x1.98f23cp-2F,  0x1.9e5084p-2F,  0x1.a3b944p-2F,  0x1.a92c82p-2F,  0x1.aeaa42p-2F, 0x1.b4328cp-2F,
    0x1.b9c564p-2F,  0x1.bf62dp-2F,   0x1.c50ad4p-2F,  0x1.cabd7ap-2F,  0x1.d07ac6p-2F,  0x1.d642bap-2F, 0x1.dc1562p-2F,
    0x1.e1f2bep-2F,  0x1.e7dad6p-2F,  0x1.edcdbp-2F,   0x1.f3cb5p-2F,   0x1.f9d3bcp-2F,  0x1.ffe6fcp-2F, 0x1.03028ap-1F,
    0x1.061704p-1F,  0x1.0930eep-1F,  0x1.0c504ep-1F,  0x1.0f7524p-1F,  0x1.129f72p-1F,  0x1.15cf3ep-1F, 0x1.190488p-1F,
    0x1.1c3f54p-1F,  0x1.1f7fa4p-1F,  0x1.22c57cp-1F,  0x1.2610dcp-1F,  0x1.2961c8p-1F,  0x1.2cb844p-1F, 0x1.301452p-1F,
    0x1.3375f4p-1F,  0x1.36dd2cp-1F,  0x1.3a49fep-1F,  0x1.3dbc6cp-1F,  0x1.413478p-1F,  0x1.44b226p-1F, 0x1.483578p-1F,
    0x1.4bbe7p-1F,   0x1.4f4d12p-1F,  0x1.52e15ep-1F,  0x1.567b5ap-1F,  0x1.5a1b06p-1F,  0x1.5dc064p-1F, 0x1.616b7ap-1F,
    0x1.651c48p-1F,  0x1.68d2dp-1F,   0x1.6c8f16p-1F,  0x1.70511ep-1F,  0x1.7418e6p-1F,  0x1.77e674p-1F, 0x1.7bb9cap-1F,
    0x1.7f92eap-1F,  0x1.8371d6p-1F,  0x1.87569p-1F,   0x1.8b411ep-1F,  0x1.8f317ep-1F,  0x1.9327b6p-1F, 0x1.9723c6p-1F,
    0x1.9b25bp-1F,   0x1.9f2d7ap-1F,  0x1.a33b24p-1F,  0x1.a74ebp-1F,   0x1.ab6822p-1F,  0x1.af877cp-1F, 0x1.b3acbep-1F,
    0x1.b7d7eep-1F,  0x1.bc090cp-1F,  0x1.c0401cp-1F,  0x1.c47d2p-1F,   0x1.c8c018p-1F,  0x1.cd090ap-1F, 0x1.d157f6p-1F,
    0x1.d5acep-1F,   0x1.da07cap-1F,  0x1.de68b4p-1F,  0x1.e2cfa4p-1F,  0x1.e73c9ap-1F,  0x1.ebaf98p-1F, 0x1.f028a2p-1F,
    0x1.f4a7bap-1F,  0x1.f92ce2p-1F,  0x1.fdb81cp-1F,
};

// The thresholds from code 0, with an end that no value of 0..1 reaches.
constexpr std::array<float, 257> thresholds = [] {
  std::array<float, 257> result{};
  for (std::size_t i = 0; i < leastLinearOfCode.size(); ++i) result[i + 1] = leastLinearOfCode[i];
  result[256] = 2.0F;
  return result;
}();

// Floats are cut into buckets by their exponent and their first seven bits of mantissa. A bucket is narrower than the
// distance of two thresholds, so the code of its least value, or the next one, is the code of every value in it.
constexpr unsigned bucketShift = 16;
constexpr std::uint32_t firstBucket = std::bit_cast<std::uint32_t>(0x1p-13F) >> bucketShift;
constexpr std::uint32_t lastBucket = std::bit_cast<std::uint32_t>(1.0F) >> bucketShift;

constexpr std::array<std::uint8_t, lastBucket - firstBucket + 1> codeOfBucket = [] {
  std::array<std::uint8_t, lastBucket - firstBucket + 1> result{};
  std::size_t code = 0;
  for (std::size_t i = 0; i < result.size(); ++i) {
    const auto least = std::bit_cast<float>(static_cast<std::uint32_t>((firstBucket + i) << bucketShift));
    while (thresholds[code + 1] <= least) ++code;
    result[i] = static_cast<std::uint8_t>(code);
  }
  return result;
}();

static_assert(
    [] {
      for (std::size_t i = 0; i + 1 < codeOfBucket.size(); ++i) {
        if (codeOfBucket[i + 1] - codeOfBucket[i] > 1) return false;
      }
      return thresholds[1] > 0x1p-13F && codeOfBucket.back() == 255;
    }(),
    "a bucket must hold one threshold at most");

}  // namespace

float linearFromSRGB8(std::uint8_t encoded) noexcept {
  return linearOfCode[encoded];
}

std::uint8_t sRGB8FromLinear(float linear) noexcept {
  if (!(linear > 0x1p-13F)) return 0;
  if (linear >= 1.0F) return 255;
  const std::size_t bucket = (std::bit_cast<std::uint32_t>(linear) >> bucketShift) - firstBucket;
  const std::size_t code = codeOfBucket[bucket];
  return static_cast<std::uint8_t>(code + (linear >= thresholds[code + 1] ? 1 : 0));
}

}  // namespace ornolith
