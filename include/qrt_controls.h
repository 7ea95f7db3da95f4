/** @file qrt_controls.h
 *  Accessors of the control variables; included by qrt_c_api.h. */
#ifndef QRT_CONTROLS_H
#define QRT_CONTROLS_H
#endif
