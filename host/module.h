// The C++ face of the module: list effects, make them, set fields by name, render frames.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/error.h"
#include "host/services.h"
#include "host/surface.h"

#pragma GCC visibility push(default)
namespace larkmoor {

enum class EffectKind { Filter, Transition, Generator };

struct PresetInfo {
    std::string name;
    std::vector<std::byte> record;
};

/// What can be known of an effect without rendering. Texts of fields belong to the loaded module.
///
/// A record is the bytes that the effect's interface takes, with one exception: where a field is a text, the record is
/// in the form that it is saved in, its text in place of a pointer (a 32-bit count at the field's offset, then that
/// many 16-bit characters). Records with different texts have different sizes.
struct EffectInfo {
    std::string name;        ///< the description without the maker's word: "Gaussian Blur"
    std::string description; ///< as the module tells it
    std::string className;   ///< "DXTGaussianBlur"
    std::string family;      ///< the word for it and its like in menus: "Blur"
    CLSID clsid{};
    IID iid{}; ///< the class's own dual interface
    EffectKind kind{};
    int minInputs = 0, maxInputs = 0;
    bool soundInFloat = false; ///< makes of floats the picture that it makes of bytes, finer; false for generators
    bool watchesTime = false;  ///< the picture depends on the frame's time
    std::vector<std::byte> defaults;
    std::vector<tFieldInfo> fields;
    std::vector<PresetInfo> presets;

    /// The field that is a text, or null.
    const tFieldInfo* textField() const;
    /// A field by name or by label without its mnemonic, without regard to case, blanks, `-` and `_`.
    /// Throws Error that names the nearest right ones.
    const tFieldInfo& field(std::string_view name) const;
    /// A preset by name (compared as fields are) or by number. Throws Error that names the nearest right ones.
    const PresetInfo& preset(std::string_view name) const;
};

/// Whether an effect holds levels to those that can be broadcast: what lies beyond full scale may not pass it by.
bool isLegalizer(const EffectInfo& info);
/// Whether the record is that of the preset by which an effect leaves pictures as they are.
bool isNone(const EffectInfo& info, std::span<const std::byte> record);

/// Reads or writes one field of a record's bytes as text in plain "C" form: a number; on/off, yes/no, true/false, 1/0;
/// a choice by its text or number; a colour as #RRGGBB, #RRGGBBAA or comma-separated numbers 0 to 1 in the order red,
/// green, blue, alpha; a point as x,y; a font as family, style and pixels ("Liberation Sans Bold 72", each part but the
/// family may be missing); a text in UTF-8 with \n for a line break, \t for a tab and \\ for a backslash. Writing
/// throws Error with a sentence that tells what the field takes. A text changes the size of its record.
std::string fieldText(const tFieldInfo& field, std::span<const std::byte> record);
void setFieldText(const tFieldInfo& field, std::span<std::byte> record, std::string_view text);
void setFieldText(const tFieldInfo& field, std::vector<std::byte>& record, std::string_view text);

/// What is wrong with a field's value where it lies beyond what the effect's page takes: a sentence that names the
/// range.
std::optional<std::string> fieldFault(const tFieldInfo& field, std::span<const std::byte> record);

/// The module's file for what is loaded into other programs: the one in the folder of the library or program that an
/// address lies in. Empty, for `Module::load` to look, where there is none or LARKMOOR_MODULE names one.
std::string moduleBeside(const void* address);

/// The module's file: `path`, or without one the file that LARKMOOR_MODULE names, the one beside this library or the
/// program, in the `lib` folders beside the program's folder, or on the system's library path. Throws Error that tells
/// where it looked.
std::string moduleFile(const std::string& path = {});

class Effect;

/// Where class objects come from: `DllGetClassObject` of the module, or a registry of the system.
using ClassObjects = HRESULT (*)(const CLSID* clsid, const IID* iid, void** out);

/// The loaded module. Copies share it; once loaded it stays until the process ends.
class Module {
  public:
    /// Loads `moduleFile(path)`, from whose own function class objects come unless another one is named. Throws Error.
    static Module load(const std::string& path = {}, ClassObjects classObjects = nullptr);

    /// The effects that the module can create, in the order of its object map.
    std::span<const EffectInfo> effects() const;

    /// An effect by name, class or full description, compared without regard to case, blanks, `-` and `_`.
    /// Throws Error that names the nearest right ones.
    const EffectInfo& find(std::string_view name) const;

    /// A new object of the class, sited, with its default record.
    /// @param processors what its task manager reports; one by default, since frames run in parallel.
    Effect create(const EffectInfo& info, unsigned processors = 1) const;

    /// A new uninitialised object of any class of the object map, for callers that speak to interfaces themselves.
    CComPtr<IUnknown> createObject(const CLSID& clsid) const;

    /// Address of an exported function, or null.
    void* symbol(const char* name) const;

  private:
    struct State;
    std::shared_ptr<const State> m_state;
    friend class Effect;
};

/// One effect object. Not shared between threads at once; make one for each thread.
class Effect {
  public:
    const EffectInfo& info() const;
    IUnknown* object() const;

    /// The record as set.
    std::vector<std::byte> record() const;
    /// A shorter span changes only the front of the record.
    void setRecord(std::span<const std::byte> record);

    /// By name, as text (see `setFieldText`).
    void set(std::string_view field, std::string_view value);
    std::string get(std::string_view field) const;
    void applyPreset(std::string_view nameOrNumber);
    /// "field=value", or a preset.
    void apply(std::string_view setting);

    /// The persisted form, byte for byte.
    std::vector<std::byte> saveState() const;
    void loadState(std::span<const std::byte> state);

    /// Animates between two records: `setRampPosition` moves; `clearRamp` goes back to the record as set.
    void setRamp(std::span<const std::byte> from, std::span<const std::byte> to);
    void setRampPosition(double position);
    void clearRamp();

    /// Progress of a transition, 0 to 1.
    void setProgress(float progress);

    /// Whether pictures that may be clear somewhere go over what the output holds, as they do at first, or replace it,
    /// which is faster. Of no account to an effect that always does the one or the other.
    void setBlending(bool on);

    /// Renders one frame of a filter or transition from the inputs into `output`, which is not cleared first.
    /// Inputs may be fewer than the most the effect takes. With a clip only that part of the input's coordinates is
    /// done, and it lands at `placement`, or at (0, 0) without one. Returns false when there was nothing to do (the
    /// clip missed the picture).
    /// Throws StatusError with a sentence: for E_NOTIMPL on float surfaces that the effect takes 8-bit pictures only.
    bool render(std::span<const Surface> inputs, const Surface& output, const RECT* clip = nullptr,
                const POINT* placement = nullptr);

    /// As `render` into a cleared picture. It is not cleared before filters that cover it: those that are sound in the
    /// picture's form, with their blending off, from a picture of its size.
    bool renderAnew(std::span<const Surface> inputs, Surface output);

    /// Lets go of the surfaces of the last `render`, which otherwise live until the next one binds others.
    void unbind();

    /// Draws a generator's picture into the whole of `output` (any format), whose size it takes.
    void generate(const Surface& output);

  private:
    bool covers(std::span<const Surface> inputs, const Surface& output) const;

    friend class Module;
    struct State;
    explicit Effect(std::shared_ptr<State> state) : m_state(std::move(state)) {}
    std::shared_ptr<State> m_state;
};

} // namespace larkmoor
#pragma GCC visibility pop
