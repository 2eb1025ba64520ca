// Compiled twice under two names, see CMakeLists.txt.
void ROUND_TWO(const double* in, double* out);

void ROUND_TWO(const double* in, double* out)
{
    const float a = static_cast<float>(in[0]);
    const float b = static_cast<float>(in[1]);
    out[0] = static_cast<double>(a);
    out[1] = static_cast<double>(b);
}
