// The filters of colour and level as a host runs them, at 1920x1080 in 4-byte pixels, one thread; where OpenCV was
// found also its nearest operations on the same pictures.
#include "host/module.h"
#include "row.h"

#if LARKMOOR_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace larkmoor;

template <class Work>
void Register(const std::string& name, Work work) {
    benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) { RunBenchRow(state, 4, Work(work)); })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

/// Renders `effect` with `preset`, or its default record without one, and the given fields on top.
class CRender {
  public:
    using tSetting = std::pair<const char*, const char*>;
    CRender(const char* effect, const char* preset, std::vector<tSetting> settings, bool opaque)
        : m_effect(effect), m_preset(preset), m_settings(std::move(settings)), m_opaque(opaque) {}

    void operator()(CBenchPicture& d, CBenchPicture& s) {
        if (!m_render) Prepare(d, s);
        m_render->render({&m_input, 1}, m_output);
    }

  private:
    void Prepare(CBenchPicture& d, CBenchPicture& s) {
        if (m_opaque)
            for (std::size_t i = 3; i < s.Bytes(); i += 4) s.Data()[i] = 255;
        static const Module module = Module::load(LARKMOOR_MODULE_FILE);
        m_render = std::make_shared<Effect>(module.create(module.find(m_effect)));
        if (m_preset) m_render->applyPreset(m_preset);
        for (const auto& [field, value] : m_settings) m_render->set(field, value);
        const auto wrap = [](CBenchPicture& picture) {
            return Surface::wrap({reinterpret_cast<std::byte*>(picture.Data()), kBenchWidth, kBenchHeight,
                                  picture.View().stride, PixelFormat::PremultipliedArgb32});
        };
        m_input = wrap(s);
        m_output = wrap(d);
        m_output.setInfo({1.0, 25.0, 400000});
    }

    const char *m_effect, *m_preset;
    std::vector<tSetting> m_settings;
    bool m_opaque;
    std::shared_ptr<Effect> m_render;
    Surface m_input, m_output;
};

void Row(const char* name, const char* effect, const char* preset, std::vector<CRender::tSetting> settings = {},
         bool opaque = false) {
    Register(std::string("Effect/") + name, CRender(effect, preset, std::move(settings), opaque));
}

#if LARKMOOR_BENCH_OPENCV
cv::Mat MatOf(CBenchPicture& picture) {
    return {kBenchHeight, kBenchWidth, CV_8UC4, picture.Data()};
}

template <class Work>
void Peer(const char* name, Work work) {
    Register(std::string("OpenCV/") + name, [work](CBenchPicture& d, CBenchPicture& s) {
        cv::setNumThreads(1);
        cv::Mat output = MatOf(d);
        work(output, MatOf(s));
    });
}

void RegisterPeers() {
    using M = cv::Mat;
    Peer("Invert", [](M& d, const M& s) { cv::bitwise_xor(s, cv::Scalar(255, 255, 255, 0), d); });
    Peer("Table", [table = M(1, 256, CV_8U, cv::Scalar(7))](M& d, const M& s) { cv::LUT(s, table, d); });
    Peer("Threshold", [](M& d, const M& s) { cv::threshold(s, d, 127, 255, cv::THRESH_BINARY); });
    Peer("Black and White", [](M& d, const M& s) {
        static M grey;
        cv::cvtColor(s, grey, cv::COLOR_BGRA2GRAY);
        cv::cvtColor(grey, d, cv::COLOR_GRAY2BGRA);
    });
    Peer("Sepia", [](M& d, const M& s) {
        const cv::Matx44f tone(.131f, .534f, .272f, 0, .168f, .686f, .349f, 0, .189f, .769f, .393f, 0, 0, 0, 0, 1);
        cv::transform(s, d, tone);
    });
    Peer("HSL Adjust", [](M& d, const M& s) {
        static M colors, hls, back;
        cv::cvtColor(s, colors, cv::COLOR_BGRA2BGR);
        cv::cvtColor(colors, hls, cv::COLOR_BGR2HLS);
        cv::multiply(hls, cv::Scalar(1, 1, 2), hls);
        cv::cvtColor(hls, back, cv::COLOR_HLS2BGR);
        cv::cvtColor(back, d, cv::COLOR_BGR2BGRA);
    });
    for (const bool gaussian : {false, true})
        Peer(gaussian ? "Add Noise/Gaussian" : "Add Noise/uniform", [gaussian](M& d, const M& s) {
            static M noise(kBenchHeight, kBenchWidth, CV_16SC4);
            if (gaussian)
                cv::randn(noise, 0, 40);
            else
                cv::randu(noise, -64, 64);
            cv::add(s, noise, d, cv::noArray(), CV_8U);
        });
    Peer("Mask Generator", [table = M(1, 256, CV_8U, cv::Scalar(7))](M& d, const M& s) {
        static M grey;
        cv::cvtColor(s, grey, cv::COLOR_BGRA2GRAY);
        cv::LUT(grey, table, grey);
        cv::merge(std::vector<M>(4, grey), d);
    });
    Peer("Black Restore", [](M& d, const M& s) {
        static M mask;
        s.copyTo(d);
        cv::inRange(s, cv::Scalar(0, 0, 0, 0), cv::Scalar(5, 5, 5, 255), mask);
        d.setTo(cv::Scalar(0, 0, 0, 255), mask);
    });
}
#endif

[[maybe_unused]] const bool s_registered = [] {
    Row("Invert/opaque", "Invert", nullptr, {{"blendAmount", "1"}}, true);
    Row("Brightness and Contrast/one table", "Brightness and Contrast", "Brighter");
    Row("Brightness and Contrast/two tables", "Brightness and Contrast", "Brighter, More Contrast");
    Row("Levels", "Levels", nullptr);
    Row("Levels/one channel", "Levels", nullptr, {{"channel", "Red"}});
    Row("Threshold", "Threshold", nullptr);
    Row("Black and White", "Black and White", "50% Black and White");
    Row("Sepia/first stage", "Sepia", "Neutral", {{"strength", "0.3"}});
    Row("Sepia/second stage", "Sepia", "Old Photographs");
    Row("Sepia/third stage", "Sepia", "Neutral");
    Row("HSL Adjust", "HSL Adjust", "Invert Color");
    Row("HSL Adjust/saturation", "HSL Adjust", "Max Saturation");
    Row("Add Noise/uniform", "Add Noise", "Medium");
    Row("Add Noise/uniform color", "Add Noise", "Color");
    Row("Add Noise/Gaussian", "Add Noise", "Grainy");
    Row("Add Noise/Gaussian color", "Add Noise", "Grainy", {{"monochromatic", "0"}});
    Row("Mask Generator", "Mask Generator", nullptr);
    Row("Mask Generator/channel", "Mask Generator", "Red Channel Mask");
    Row("Black Restore", "Black Restore", nullptr);
    Row("Gamut", "(Legacy Plug-In) Broadcast Colors", nullptr);
    Row("Gamut/invert", "(Legacy Plug-In) Broadcast Colors", "Clamp", {{"invert", "1"}});
#if LARKMOOR_BENCH_OPENCV
    RegisterPeers();
#endif
    return true;
}();

} // namespace
