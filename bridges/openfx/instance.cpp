#include "instance.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "host/alpha.h"
#include "host/depth.h"

namespace larkmoor::openfx {
namespace {

constexpr int kMostPixels = 1 << 15;
constexpr double kUsualRate = 25, kMostRate = 1000;
/// Beyond this a host's time is none.
constexpr double kMostSeconds = 1e9;

/// A host's picture as long as this lives.
class Image {
  public:
    Image(const Suites& suites, ClipHandle clip, double time) : m_suites(suites) {
        if (!clip || suites.effect->clipGetImage(clip, time, nullptr, &m_handle) != kOk) m_handle = nullptr;
        if (m_handle) m_picture = pictureOf({suites, m_handle});
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    ~Image() {
        if (m_handle) m_suites.effect->clipReleaseImage(m_handle);
    }
    /// There is a picture, but in no form that is taken.
    bool isForeign() const { return m_handle && !m_picture; }
    const HostPicture* get() const { return m_picture ? &*m_picture : nullptr; }

  private:
    const Suites& m_suites;
    PropertySet m_handle = nullptr;
    std::optional<HostPicture> m_picture;
};

/// A frame that the plug-in does not make, and why.
struct Refusal : Error {
    Refusal(Status answer, const std::string& sentence) : Error(sentence), status(answer) {}
    Status status;
};

/// A frame in pixels; empty where the numbers make none.
Area pixelsOf(const RectD& region, double scaleX, double scaleY) {
    // A border that is a pixel's but for a rounding error is that pixel's.
    constexpr double slack = 1e-3;
    const double x1 = std::floor(region.x1 * scaleX + slack), x2 = std::ceil(region.x2 * scaleX - slack);
    const double y1 = std::floor(region.y1 * scaleY + slack), y2 = std::ceil(region.y2 * scaleY - slack);
    const auto fits = [](double low, double high) {
        return low < high && high - low <= kMostPixels && std::fabs(low) < 1e9 && std::fabs(high) < 1e9;
    };
    if (!fits(x1, x2) || !fits(y1, y2)) return {};
    return {static_cast<int>(x1), static_cast<int>(y1), static_cast<int>(x2), static_cast<int>(y2)};
}

} // namespace

Instance::Instance(const Suites& suites, const Catalog& catalog, const Plugin& plugin, EffectHandle handle)
    : m_suites(suites), m_plugin(plugin), m_handle(handle), m_effect(catalog.module().create(*plugin.info)),
      m_tasks(makeObject<BandTasks>(suites, handle)), m_record(plugin.info->defaults) {
    m_effect.setBlending(false);
    const auto site = createTransformFactory(1);
    const auto sited = KwQuery<IObjectWithSite>(m_effect.object());
    if (FAILED(site->SetService(&SID_SDXTaskManager, m_tasks.Get(), FALSE))) throw std::bad_alloc();
    if (sited) sited->SetSite(site.Get());
    const auto input = [&](const char* name) {
        Input clip;
        if (suites.effect->clipGetHandle(handle, name, &clip.clip, &clip.properties) != kOk) clip = {};
        return clip;
    };
    for (const char* const name : plugin.inputs()) m_inputs.push_back(input(name));
    m_output = input("Output");
    if (suites.effect->getParamSet(handle, &m_paramSet) != kOk) m_paramSet = nullptr;
    PropertySet own = nullptr;
    const bool known = suites.effect->getPropertySet(handle, &own) == kOk && own;
    const bool hosts = known && Properties(suites, own).text("OfxImageEffectPropContext") ==
                                    std::string_view("OfxImageEffectContextTransition");
    for (const Parameter& parameter : plugin.parameters) {
        const char* const name = hosts && parameter.role == Role::Progress ? kTransition : parameter.name.c_str();
        ParamHandle param = nullptr;
        PropertySet set = nullptr; // not every host takes null for it
        if (!m_paramSet || suites.parameter->getHandle(m_paramSet, name, &param, &set) != kOk) param = nullptr;
        m_params.push_back(param);
    }
}

Instance::Settings Instance::settingsAt(double time) const {
    Settings settings;
    for (std::size_t i = 0; i < m_params.size(); ++i) {
        const Parameter& parameter = m_plugin.parameters[i];
        settings.values.push_back(valueAt(m_suites, m_params[i], parameter, time));
        if (parameter.role == Role::Progress) settings.progress = settings.values.back().numbers[0];
    }
    return settings;
}

std::vector<std::byte> Instance::recordAt(const Settings& settings) const {
    return recordOf(*m_plugin.info, m_plugin.parameters, settings.values);
}

double Instance::startTime(const Settings& settings) const {
    for (std::size_t i = 0; i < settings.values.size(); ++i)
        if (m_plugin.parameters[i].role == Role::StartTime) return settings.values[i].numbers[0] * 3600;
    return 0;
}

/// That of the input, of the output, or of the project.
double Instance::frameRate() const {
    std::vector<PropertySet> sets;
    for (const Input& input : m_inputs) sets.push_back(input.properties);
    sets.push_back(m_output.properties);
    PropertySet own = nullptr;
    if (m_suites.effect->getPropertySet(m_handle, &own) == kOk) sets.push_back(own);
    for (const PropertySet set : sets)
        if (set)
            if (const double rate = Properties(m_suites, set).number("OfxImageEffectPropFrameRate", 0.0);
                rate > 0 && rate <= kMostRate)
                return rate;
    return kUsualRate;
}

/// The whole picture, of which hosts may ask for a part. The image's own word of it is wrong in some of them.
Area Instance::frameOf(const HostPicture& out, const Request& request) const {
    RectD region{};
    if (!m_output.clip || m_suites.effect->clipGetRegionOfDefinition(m_output.clip, request.time, &region) != kOk)
        return out.bounds;
    const Area frame = pixelsOf(region, request.scaleX / out.aspect, request.scaleY);
    return common(frame, request.window).isEmpty() ? out.bounds : frame;
}

Surface& Instance::sized(Surface& memory, PixelFormat format, const Area& frame) const {
    const auto width = static_cast<int>(frame.width()), height = static_cast<int>(frame.height());
    const ImageView is = memory ? memory.view() : ImageView{};
    if (is.width != width || is.height != height || is.format != format)
        memory = Surface::create(format, width, height);
    return memory;
}

void Instance::apply(std::vector<std::byte> record) {
    if (record == m_record) return;
    m_effect.setRecord(record);
    m_record = std::move(record);
}

bool Instance::limitsLevels() const {
    return isLegalizer(*m_plugin.info) && !isNone(*m_plugin.info, m_record);
}

bool Instance::isIdentity(std::span<const std::byte> record) const {
    return m_plugin.hasIdentity && isNone(*m_plugin.info, record);
}

void Instance::make(std::span<const Surface> inputs, const Surface& output) {
    Surface target = output;
    if (m_plugin.info->kind == EffectKind::Generator) return m_effect.generate(target);
    if (output.view().format == PixelFormat::Float128 && !m_plugin.info->soundInFloat)
        return makeInBytes(inputs, output);
    m_effect.renderAnew(inputs, target);
}

/// Pixels that the effect leaves as they are keep their floats.
void Instance::makeInBytes(std::span<const Surface> inputs, const Surface& output) {
    const Area frame{0, 0, output.view().width, output.view().height};
    std::vector<Surface> narrow;
    std::vector<TwoDepths> before;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        Surface bytes = sized(m_bytes[i], PixelFormat::PremultipliedArgb32, frame);
        bytes.setInfo(output.info());
        narrowPicture(inputs[i].view(), bytes.view());
        bytes.touch();
        before.push_back({inputs[i].view(), bytes.view()});
        narrow.push_back(std::move(bytes));
    }
    Surface made = sized(m_bytes[2], PixelFormat::PremultipliedArgb32, frame);
    made.setInfo(output.info());
    m_effect.renderAnew(narrow, made);
    restoreDepth(before, made.view(), output.view());
    if (limitsLevels()) limitPicture(output.view());
}

tSurfaceInfo Instance::infoOf(const HostPicture& out, const Settings& settings, double time) const {
    const double rate = frameRate();
    // A start between two frames would make each frame's time a matter of rounding.
    const double frames = std::round(startTime(settings) * rate) + (std::isfinite(time) ? time : 0);
    return {.pixelAspect = out.aspect,
            .frameRate = rate,
            .time100ns = std::llround(std::clamp(frames / rate, 0.0, kMostSeconds) * 1e7)};
}

void Instance::complain(const char* sentence) {
    if (m_complaint == sentence) return; // hosts go on with the next frame, and the one after
    m_complaint = sentence;
    if (!m_suites.message) return;
    const auto tell = m_suites.messagesStay ? m_suites.message->setPersistent : m_suites.message->message;
    tell(m_handle, "OfxMessageError", "", "%s", sentence);
}

void Instance::withdraw() {
    if (m_complaint.empty()) return;
    m_complaint.clear();
    if (m_suites.messagesStay) m_suites.message->clearPersistent(m_handle);
}

Status Instance::render(const Request& request) {
    const std::scoped_lock guard(m_lock);
    if (m_tasks->stops()) return kOk;
    try {
        draw(request);
        if (!m_tasks->isStopped()) withdraw();
        return kOk;
    } catch (const Refusal& refusal) {
        complain(refusal.what());
        return refusal.status;
    } catch (const std::bad_alloc&) {
        complain("there is too little memory for the frame");
        return kMemory;
    } catch (const std::exception& error) {
        if (m_tasks->isStopped()) return kOk;
        complain(error.what());
        return kFailed;
    }
}

void Instance::draw(const Request& request) {
    const std::string& name = m_plugin.label;
    const auto refuseForm = [&] {
        throw Refusal(kImageFormat,
                      name + " takes pictures of red, green, blue and alpha, all in bytes or all in floats");
    };
    const Image outImage(m_suites, m_output.clip, request.time);
    if (outImage.isForeign()) refuseForm();
    const HostPicture* const out = outImage.get();
    if (!out) throw Refusal(kFailed, "the host gives " + name + " no picture to draw on");
    const Area frame = frameOf(*out, request);
    if (frame.width() > kMostPixels || frame.height() > kMostPixels)
        throw Refusal(kFailed, fmt::format("a picture of {} by {} pixels is too large for {}: sides go up to {}",
                                           frame.width(), frame.height(), name, kMostPixels));

    const Settings settings = settingsAt(request.time);
    auto record = recordAt(settings);
    scalePixels(*m_plugin.info, record, request.scaleY);
    apply(std::move(record));
    const tSurfaceInfo info = infoOf(*out, settings, request.time);
    const bool generates = m_plugin.info->kind == EffectKind::Generator;
    const PixelFormat form = out->floats ? PixelFormat::Float128
                             : generates ? PixelFormat::Argb32
                                         : PixelFormat::PremultipliedArgb32;
    std::optional<Image> images[2];
    std::vector<Surface> inputs;
    for (std::size_t i = 0; i < m_inputs.size(); ++i) {
        const Image& image = images[i].emplace(m_suites, m_inputs[i].clip, request.time);
        if (image.isForeign() || (image.get() && image.get()->floats != out->floats)) refuseForm();
        if (!image.get() && m_inputs.size() == 1)
            throw Refusal(kFailed, name + " has no picture to work on: connect one to it");
        if (isIdentity(m_record) && image.get()->alpha == out->alpha) return copy(*image.get(), request.window, *out);
        Surface picture = sized(m_pictures[i], form, frame);
        take(image.get(), frame, picture.view());
        picture.touch();
        picture.setInfo(info);
        inputs.push_back(std::move(picture));
    }
    Surface made = sized(m_made, form, frame);
    made.setInfo(info);
    if (m_plugin.info->kind == EffectKind::Transition) m_effect.setProgress(static_cast<float>(settings.progress));
    if (m_tasks->stops()) return;
    make(inputs, made);

    // What was left as it is goes back as it came.
    const bool limits = out->floats && limitsLevels();
    for (std::size_t i = 0; i < inputs.size() && !limits; ++i)
        if (const HostPicture* const from = images[i]->get();
            from && from->alpha == out->alpha && isUnchanged(inputs[i].view(), made.view()))
            return copy(*from, request.window, *out);
    if (generates && !out->floats && out->alpha != Alpha::Straight) {
        ImageView view = made.view();
        premultiply(view);
        view.format = PixelFormat::PremultipliedArgb32;
        give(view, frame, request.window, *out);
    } else {
        give(made.view(), frame, request.window, *out);
    }
}

const char* Instance::identity(double time) {
    const std::scoped_lock guard(m_lock);
    return isIdentity(recordAt(settingsAt(time))) ? m_plugin.inputs()[0] : nullptr;
}

void Instance::takePreset(double time) {
    const Settings settings = settingsAt(time);
    std::size_t at = 0;
    const auto& parameters = m_plugin.parameters;
    while (at < parameters.size() && parameters[at].role != Role::Preset) ++at;
    if (at == parameters.size() || settings.values[at].numbers[0] < 1) return;
    const std::vector<Value> values = valuesOf(parameters, recordAt(settings));
    m_suites.parameter->editBegin(m_paramSet, "Preset");
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (parameters[i].role == Role::Field) setValue(m_suites, m_params[i], parameters[i], values[i]);
    setValue(m_suites, m_params[at], parameters[at], parameters[at].initial);
    m_suites.parameter->editEnd(m_paramSet);
}

} // namespace larkmoor::openfx
