/* SPDX-License-Identifier: GPL-2.0-only */
/* Runs the steps of several contexts in every order. */
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "base/types.h"

// What one context does, step by step.
using access_list = std::vector<std::function<void()>>;

// Runs the steps of all contexts in every order that keeps each context's own.
class explorer {
public:
    explorer(std::function<void()> begin, std::vector<access_list> contexts,
             std::function<void()> end)
        : begin_(std::move(begin)), contexts_(std::move(contexts)), end_(std::move(end))
    {
        for (const access_list& each : contexts_)
            length_ += each.size();
    }

    /// Returns the number of interleavings.
    u64 run()
    {
        std::vector<size_t> order;
        std::vector<size_t> done(contexts_.size(), 0);
        extend(order, done);
        return orders_;
    }

private:
    void extend(std::vector<size_t>& order, std::vector<size_t>& done)
    {
        if (testing::Test::HasFailure())
            return;
        if (order.size() == length_)
            return replay(order);
        for (size_t i = 0; i < contexts_.size(); ++i) {
            if (done[i] == contexts_[i].size())
                continue;
            ++done[i];
            order.push_back(i);
            extend(order, done);
            order.pop_back();
            --done[i];
        }
    }

    void replay(const std::vector<size_t>& order)
    {
        ++orders_;
        begin_();
        std::vector<size_t> next(contexts_.size(), 0);
        for (const size_t context : order)
            contexts_[context][next[context]++]();
        end_();
        if (testing::Test::HasFailure()) {
            std::string text;
            for (const size_t context : order)
                text += static_cast<char>('A' + context);
            ADD_FAILURE() << "in the order " << text;
        }
    }

    std::function<void()> begin_;
    std::vector<access_list> contexts_;
    std::function<void()> end_;
    size_t length_ = 0;
    u64 orders_ = 0;
};
