/* A picture through an effect: picture_c "Gaussian Blur" horizontalRange=0.1 < in.ppm > out.ppm */
#include <larkmoor.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
    int width, height;
    if (argc < 2 || scanf("P6 %d %d 255%*c", &width, &height) != 2 || width < 1 || height < 1) return 2;
    const size_t bytes = (size_t)width * (size_t)height * 4;
    unsigned char *in = malloc(bytes), *out = malloc(bytes);
    for (size_t i = 0; i < bytes; in[i + 3] = 255, i += 4)
        for (size_t c = 3; c-- > 0;) in[i + c] = (unsigned char)getchar();

    larkmoor_module* module = larkmoor_open(NULL);
    larkmoor_effect* effect = module ? larkmoor_create(module, argv[1]) : NULL;
    larkmoor_image from = {sizeof from, in, width, height, width * 4, LARKMOOR_BGRA}, to = from;
    to.data = out;
    int good = effect != NULL;
    for (int i = 2; good && i < argc; ++i) good = larkmoor_apply(effect, argv[i]) == 0;
    good = good && larkmoor_render(effect, &from, 1, &to, 0, 0) == 0;
    if (!good) return fprintf(stderr, "%s\n", larkmoor_error()), 1;

    printf("P6 %d %d 255\n", width, height);
    for (size_t i = 0; i < bytes; i += 4) printf("%c%c%c", out[i + 2], out[i + 1], out[i]);
    larkmoor_destroy(effect);
    larkmoor_close(module);
    free(in), free(out);
    return 0;
}
