#pragma once
#ifdef __cplusplus
extern "C" {
#endif
double sqrt(double);
double fabs(double);
double floor(double);
double ceil(double);
#ifdef __cplusplus
}
#endif
