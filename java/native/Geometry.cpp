// Rectangles and matrices. Numbers come in arrays, the result in the first of them.
#include "Native.h"

using namespace vkj;

namespace {

/// A change of a matrix by one of the functions that take two numbers.
using MatrixChange = int (*)(V_MATRIX*, double, double);

jint change(JNIEnv* env, jdoubleArray matrix, MatrixChange function, double x, double y)
{
    auto map = doubles_as<V_MATRIX>(env, matrix);
    const int result = function(&map, x, y);
    give_doubles(env, matrix, map);
    return result;
}

template <auto Function> jint pair_of_rects(JNIEnv* env, jintArray first, jintArray second)
{
    RECT a = rect_of(env, first);
    const RECT b = rect_of(env, second);
    const int result = Function(&a, &a, &b);
    give_rect(env, first, a);
    return result;
}

template <auto Function> jint pair_of_rects(JNIEnv* env, jdoubleArray first, jdoubleArray second)
{
    auto a = doubles_as<V_RECTD>(env, first);
    const auto b = doubles_as<V_RECTD>(env, second);
    const int result = Function(&a, &a, &b);
    give_doubles(env, first, a);
    return result;
}

struct FourPoints {
    V_POINTD points[4];
};

} // namespace

VK_NATIVE(jint, rectIntersect)(JNIEnv* env, jclass, jintArray first, jintArray second)
{
    return pair_of_rects<V_Rect_Intersect>(env, first, second);
}

VK_NATIVE(jint, rectUnion)(JNIEnv* env, jclass, jintArray first, jintArray second)
{
    return pair_of_rects<V_Rect_Union>(env, first, second);
}

VK_NATIVE(jint, rectInflate)(JNIEnv* env, jclass, jintArray edges, jint x, jint y)
{
    RECT rect = rect_of(env, edges);
    const int result = V_Rect_Inflate(&rect, x, y);
    give_rect(env, edges, rect);
    return result;
}

VK_NATIVE(jint, rectOffset)(JNIEnv* env, jclass, jintArray edges, jint x, jint y)
{
    RECT rect = rect_of(env, edges);
    const int result = V_Rect_Offset(&rect, x, y);
    give_rect(env, edges, rect);
    return result;
}

VK_NATIVE(jint, rectdIntersect)(JNIEnv* env, jclass, jdoubleArray first, jdoubleArray second)
{
    return pair_of_rects<V_RectD_Intersect>(env, first, second);
}

VK_NATIVE(jint, rectdUnion)(JNIEnv* env, jclass, jdoubleArray first, jdoubleArray second)
{
    return pair_of_rects<V_RectD_Union>(env, first, second);
}

VK_NATIVE(jint, rectdInflate)(JNIEnv* env, jclass, jdoubleArray edges, jdouble x, jdouble y)
{
    auto rect = doubles_as<V_RECTD>(env, edges);
    const int result = V_RectD_Inflate(&rect, x, y);
    give_doubles(env, edges, rect);
    return result;
}

VK_NATIVE(jint, rectdOffset)(JNIEnv* env, jclass, jdoubleArray edges, jdouble x, jdouble y)
{
    auto rect = doubles_as<V_RECTD>(env, edges);
    const int result = V_RectD_Offset(&rect, x, y);
    give_doubles(env, edges, rect);
    return result;
}

VK_NATIVE(jint, rectdToRect)(JNIEnv* env, jclass, jdoubleArray edges, jintArray rounded, jint mode)
{
    const auto rect = doubles_as<V_RECTD>(env, edges);
    RECT made = {};
    const int result = V_RectD_ToRect(&rect, &made, bits(mode));
    give_rect(env, rounded, made);
    return result;
}

VK_NATIVE(jint, matrixMultiply)(JNIEnv* env, jclass, jdoubleArray first, jdoubleArray then)
{
    auto a = doubles_as<V_MATRIX>(env, first);
    const auto b = doubles_as<V_MATRIX>(env, then);
    const int result = V_Matrix_Multiply(&a, &a, &b);
    give_doubles(env, first, a);
    return result;
}

VK_NATIVE(jint, matrixInvert)(JNIEnv* env, jclass, jdoubleArray matrix)
{
    auto map = doubles_as<V_MATRIX>(env, matrix);
    const int result = V_Matrix_Invert(&map, &map);
    give_doubles(env, matrix, map);
    return result;
}

VK_NATIVE(jint, matrixDeterminant)(JNIEnv* env, jclass, jdoubleArray matrix, jdoubleArray determinant)
{
    const auto map = doubles_as<V_MATRIX>(env, matrix);
    double value = 0;
    const int result = V_Matrix_Determinant(&map, &value);
    give_doubles(env, determinant, value);
    return result;
}

VK_NATIVE(jint, matrixTranslate)(JNIEnv* env, jclass, jdoubleArray matrix, jdouble x, jdouble y)
{
    return change(env, matrix, V_Matrix_Translate, x, y);
}

VK_NATIVE(jint, matrixScale)(JNIEnv* env, jclass, jdoubleArray matrix, jdouble x, jdouble y)
{
    return change(env, matrix, V_Matrix_Scale, x, y);
}

VK_NATIVE(jint, matrixShear)(JNIEnv* env, jclass, jdoubleArray matrix, jdouble x, jdouble y)
{
    return change(env, matrix, V_Matrix_Shear, x, y);
}

VK_NATIVE(jint, matrixRotate)(JNIEnv* env, jclass, jdoubleArray matrix, jint angle)
{
    auto map = doubles_as<V_MATRIX>(env, matrix);
    const int result = V_Matrix_Rotate(&map, angle);
    give_doubles(env, matrix, map);
    return result;
}

VK_NATIVE(jint, matrixFromCorners)(JNIEnv* env, jclass, jdoubleArray matrix, jdoubleArray from, jdoubleArray to)
{
    const auto source = doubles_as<FourPoints>(env, from);
    const auto target = doubles_as<FourPoints>(env, to);
    V_MATRIX map = {};
    const int result = V_Matrix_FromCorners(&map, source.points, target.points);
    give_doubles(env, matrix, map);
    return result;
}

VK_NATIVE(jint, matrixPoint)(JNIEnv* env, jclass, jdoubleArray matrix, jdoubleArray point)
{
    const auto map = doubles_as<V_MATRIX>(env, matrix);
    auto carried = doubles_as<V_POINTD>(env, point);
    const int result = V_Matrix_TransformPoint(&map, &carried);
    give_doubles(env, point, carried);
    return result;
}

VK_NATIVE(jint, matrixRect)(JNIEnv* env, jclass, jdoubleArray matrix, jdoubleArray edges)
{
    const auto map = doubles_as<V_MATRIX>(env, matrix);
    auto carried = doubles_as<V_RECTD>(env, edges);
    const int result = V_Matrix_TransformRect(&map, &carried);
    give_doubles(env, edges, carried);
    return result;
}
