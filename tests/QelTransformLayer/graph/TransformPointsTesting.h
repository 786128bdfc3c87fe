#pragma once

#include <string>

#include "TransformTesting.h"

// What the tests of a transform's points have in common.

inline MoxSmartPtr<JointTransform> jointNamed(std::string const & label, int inputs, int outputs) {
    MoxSmartPtr<JointTransform> joint(new JointTransform(inputs, outputs));
    joint->setLabel(label);
    return joint;
}

inline MoxSmartPtr<QelInputConnectionPoint> newInput(std::string const & name) {
    return MoxSmartPtr<QelInputConnectionPoint>(new QelImageInputCP(name));
}

inline MoxSmartPtr<QelOutputConnectionPoint> newOutput(std::string const & name) {
    return MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP(name));
}

// The names of the points of a transform, "in0 in1 | out0".
inline std::string pointsOf(QelTransform const & transform) {
    std::string all;
    for (int i = 0; i < transform.numInputs(); ++i)
        all += transform.getInputCP(i)->name() + ' ';
    all += '|';
    for (int i = 0; i < transform.numOutputs(); ++i)
        all += ' ' + transform.getOutputCP(i)->name();
    return all;
}

// What the inputs of a transform are connected to, "s.out0 - s.out1".
inline std::string sourcesOf(QelTransform const & transform) {
    std::string all;
    for (int i = 0; i < transform.numInputs(); ++i) {
        MoxSmartPtr<QelOutputConnectionPoint> const output =
            transform.getInputCP(i)->getConnectedOutput(false);
        all += all.empty() ? "" : " ";
        all += output ? output->owner()->getLabel() + '.' + output->name() : "-";
    }
    return all;
}

inline QelTransform & base(QelTransform & transform) {
    return transform;
}
