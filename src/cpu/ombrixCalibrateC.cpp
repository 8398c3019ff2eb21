// Lens distortion, undistortion and pinhole projection, reference. The
// calibration is fx, fy, cx, cy, k1, k2, p1, p2; the per-point arithmetic is
// in ombrixGeomScalar.h.
#include "ombrixAssert.h"
#include "ombrixGeomScalar.h"
#include "ombrixKernels.h"

using namespace ombrix_geom;

void obxGeomDistortPoint2x1f32C(const float* cameraCalibration, const float* xyCamera, float* xyDevice) {
    distortPoint(cameraCalibration, xyCamera[0], xyCamera[1], xyDevice);
}

void obxGeomUndistortPoint2x1f32C(const float* cameraCalibration, const float* xyDevice, float* xyCamera) {
    undistortPoint(cameraCalibration, xyDevice, xyCamera);
}

uint32_t obxGeomProjectPoint3x1f32C(const float* pose, const float* cameraCalibration, const float* xyz,
                                    float* xyCamera, float* xyDevice) {
    const float z = poseDepth(pose, xyz);
    if (z == 0.0f) return 0;
    const float s = 1.0f / z;
    xyCamera[0] = poseRow(pose, 0, xyz) * s;
    xyCamera[1] = poseRow(pose, 1, xyz) * s;
    obxGeomDistortPoint2x1f32_(cameraCalibration, xyCamera, xyDevice);
    return z > 0.0f ? 1 : 0;
}

void obxGeomDistortPoint2xNf32C(const float* cameraCalibration, const float* xyCamera, uint32_t srcStride,
                                uint32_t numPoints, float* xyDevice, uint32_t dstStride) {
    OMBRIX_ASSERT(cameraCalibration && xyDevice && xyCamera);
    for (uint32_t i = 0; i < numPoints; ++i) {
        const float* p = pointAt(xyCamera, srcStride, i);
        distortPoint(cameraCalibration, p[0], p[1], pointAt(xyDevice, dstStride, i));
    }
}

void obxGeomUndistortPoint2xNf32C(const float* cameraCalibration, const float* xyDevice, uint32_t srcStride,
                                  uint32_t numPoints, float* xyCamera, uint32_t dstStride) {
    OMBRIX_ASSERT(cameraCalibration && xyDevice && xyCamera);
    for (uint32_t i = 0; i < numPoints; ++i)
        undistortPoint(cameraCalibration, pointAt(xyDevice, srcStride, i), pointAt(xyCamera, dstStride, i));
}

uint32_t obxGeomProjectPoint3xNf32C(const float* pose, const float* cameraCalibration, const float* xyz,
                                    uint32_t srcStride, uint32_t numPoints, float* xyCamera, float* xyDevice,
                                    uint32_t dstStride, uint8_t* inFront) {
    OMBRIX_ASSERT(pose && cameraCalibration && xyz);
    OMBRIX_ASSERT(xyDevice && xyCamera && inFront);
    uint32_t front = 0;
    for (uint32_t i = 0; i < numPoints; ++i) {
        const uint32_t f = obxGeomProjectPoint3x1f32C(pose, cameraCalibration, pointAt(xyz, srcStride, i),
                                                      pointAt(xyCamera, dstStride, i), pointAt(xyDevice, dstStride, i));
        inFront[i] = static_cast<uint8_t>(f);
        front += f;
    }
    return front;
}
