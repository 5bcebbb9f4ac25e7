/* A picture through an effect: picture_c "Gaussian Blur" horizontalRange=0.1 < in.ppm > out.ppm */
#include <larkmoor.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void need(int good) {
    if (good) return;
    fprintf(stderr, "%s\n", larkmoor_error());
    exit(1);
}

int main(int argc, char** argv) {
    int width, height;
    if (argc < 2 || scanf("P6 %d %d 255%*c", &width, &height) != 2 || width < 1 || height < 1) return 2;
    const size_t pixels = (size_t)width * (size_t)height;
    unsigned char *in = malloc(pixels * 4), *out = calloc(pixels, 4);
    for (size_t i = 0; i < pixels * 4; ++i)
        in[i / 4 * 4 + (6 - i % 4) % 4] = i % 4 < 3 ? (unsigned char)getchar() : 255;

    larkmoor_module* module = larkmoor_open(NULL);
    need(module != NULL);
    larkmoor_effect* effect = larkmoor_create(module, argv[1]);
    need(effect != NULL);
    for (int i = 2; i < argc; ++i) {
        char* value = strchr(argv[i], '=');
        if (value) *value++ = 0;
        need((value ? larkmoor_set(effect, argv[i], value) : larkmoor_preset(effect, argv[i])) == 0);
    }
    larkmoor_image from = {sizeof from, in, width, height, width * 4, LARKMOOR_BGRA}, to = from;
    to.data = out;
    need(larkmoor_render(effect, &from, 1, &to, 0, 0) == 0);
    larkmoor_destroy(effect);
    larkmoor_close(module);

    printf("P6 %d %d 255\n", width, height);
    for (size_t i = 0; i < pixels * 4; ++i)
        if (i % 4 < 3) putchar(out[i / 4 * 4 + 2 - i % 4]);
    free(in);
    free(out);
    return 0;
}
