// Compiled with the options of the library, whose vectors are rounded like this.
void roundTwo(const double* in, double* out);

void roundTwo(const double* in, double* out)
{
    const float a = static_cast<float>(in[0]);
    const float b = static_cast<float>(in[1]);
    out[0] = static_cast<double>(a);
    out[1] = static_cast<double>(b);
}
