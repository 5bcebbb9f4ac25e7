/* The effects for programs in C, and for languages that call C.
 *
 * Handles are opaque. A structure begins with its size, which the caller sets: an older program and a newer library
 * understand each other, and so do a newer program and an older library. A call that fails gives null, 0 or a negative
 * number, and larkmoor_error() then tells in one sentence what was wrong. Names are compared without regard to case,
 * blanks, '-' and '_'. Texts are UTF-8; those that are handed out belong to the module and stay good until
 * larkmoor_close(). One effect is used by one thread at a time; effects of one module by any number of threads.
 */
#ifndef LARKMOOR_H
#define LARKMOOR_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef struct larkmoor_module larkmoor_module;
typedef struct larkmoor_effect larkmoor_effect;

enum larkmoor_kind { LARKMOOR_FILTER = 0, LARKMOOR_TRANSITION = 1, LARKMOOR_GENERATOR = 2 };

enum larkmoor_field_kind {
    LARKMOOR_NUMBER = 0, /* a real number */
    LARKMOOR_WHOLE = 1,  /* a whole number */
    LARKMOOR_SWITCH = 2, /* "on" or "off" */
    LARKMOOR_CHOICE = 3, /* one of the field's choices, by its text or its number */
    LARKMOOR_COLOR = 4,  /* "#RRGGBB", "#RRGGBBAA", or numbers 0 to 1 with commas between */
    LARKMOOR_POINT = 5,  /* "x,y" */
    LARKMOOR_TEXT = 6,   /* "\n" for a line break */
    LARKMOOR_FONT = 7    /* "Liberation Sans Bold 72" */
};

enum larkmoor_format {
    LARKMOOR_BGRA = 0,               /* bytes blue, green, red, alpha; colour straight */
    LARKMOOR_BGRA_PREMULTIPLIED = 1, /* the same, colour premultiplied */
    LARKMOOR_BGRA_FLOAT = 2          /* floats blue, green, red, alpha, 1.0 full scale; colour premultiplied */
};

typedef struct larkmoor_effect_info {
    size_t size; /* of this structure */
    const char* name;
    const char* class_name;
    int kind; /* enum larkmoor_kind */
    int min_inputs, max_inputs;
    size_t field_count, preset_count;
} larkmoor_effect_info;

typedef struct larkmoor_field_info {
    size_t size; /* of this structure */
    const char* name;
    const char* label; /* for people, '&' before the mnemonic */
    const char* help;
    const char* unit;
    int kind;                      /* enum larkmoor_field_kind */
    double minimum, maximum, step; /* what a person would set; more is not refused */
    size_t choice_count;
} larkmoor_field_info;

typedef struct larkmoor_image {
    size_t size; /* of this structure */
    void* data;  /* the pixel at the top left */
    int width, height;
    ptrdiff_t stride; /* bytes to the next row down, a multiple of 4; may be negative */
    int format;       /* enum larkmoor_format */
} larkmoor_image;

/* What went wrong in this thread's last call that failed. Good until its next call. */
const char* larkmoor_error(void);

/* "0.1.0" */
const char* larkmoor_version(void);

/* The module in the file; null for the installed one, or the one that the variable LARKMOOR_MODULE names. */
larkmoor_module* larkmoor_open(const char* path);
/* Effects that are still there keep working. Null is taken. */
void larkmoor_close(larkmoor_module* module);

/* What there is. Effects, fields, presets and choices are numbered from 0; the info's size has to be set. */
size_t larkmoor_effect_count(const larkmoor_module* module);
int larkmoor_describe_effect(const larkmoor_module* module, size_t effect, larkmoor_effect_info* info);
int larkmoor_describe_field(const larkmoor_module* module, size_t effect, size_t field, larkmoor_field_info* info);
const char* larkmoor_choice_text(const larkmoor_module* module, size_t effect, size_t field, size_t choice);
const char* larkmoor_preset_name(const larkmoor_module* module, size_t effect, size_t preset);

/* An effect by its name, with its fields' defaults. */
larkmoor_effect* larkmoor_create(const larkmoor_module* module, const char* name);
void larkmoor_destroy(larkmoor_effect* effect);

/* A field as text: 0, or -1 with a sentence that tells what the field takes. */
int larkmoor_set(larkmoor_effect* effect, const char* field, const char* value);
/* Writes at most `size` bytes, the ending zero included; gives the length of the whole text, or -1. */
ptrdiff_t larkmoor_get(const larkmoor_effect* effect, const char* field, char* text, size_t size);
/* A preset by its name or number. */
int larkmoor_preset(larkmoor_effect* effect, const char* preset);
/* The one or the other in one text: "field=value", or a preset. */
int larkmoor_apply(larkmoor_effect* effect, const char* setting);

/* Lets a field go from one value to another while larkmoor_seek() goes from 0 to 1; null for `from` ends that. */
int larkmoor_animate(larkmoor_effect* effect, const char* field, const char* from, const char* to);
/* Where in its animation, and a transition in its course, the effect is: 0 to 1. */
int larkmoor_seek(larkmoor_effect* effect, double position);

/* Renders rows of one picture: `row_count` from `first_row` on, or all with a count of 0; a generator always draws all.
 * Those rows of the output are replaced; what they held before does not matter.
 * `inputs` are as many pictures as the effect takes, none of them the output. Returns 0, or -1. */
int larkmoor_render(larkmoor_effect* effect, const larkmoor_image* inputs, size_t input_count,
                    const larkmoor_image* output, int first_row, int row_count);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
