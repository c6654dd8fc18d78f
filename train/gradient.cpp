#include "gradient.h"

#include <cmath>

#include "views.h"

namespace velmora::train {

Encoded encode(const Bags& texts, const Table& table, Workers& workers) {
  const std::size_t width = table.dimensions;
  Encoded encoded = {{width, Floats(texts.size() * width)}, Floats(texts.size())};
  workers.run(pieces(texts.size()), [&](std::size_t number) {
    const Range range = piece(number, texts.size());
    for (std::size_t text = range.begin; text < range.begin + range.size; ++text) {
      auto sum = vector(encoded.vectors.row(text));
      for (const Term& term : texts[text]) sum += term.weight * vector(table.row(term.word));
      encoded.lengths[text] = sum.norm();
      if (encoded.lengths[text] > 0.0F) sum /= encoded.lengths[text];
    }
  });
  return encoded;
}

Floats cosines(const Encoded& questions, const Encoded& symbols, std::size_t columns,
               Workers& workers) {
  const std::size_t rows = questions.lengths.size();
  Floats products(rows * columns);
  if (products.empty()) return products;
  const std::size_t width = questions.vectors.dimensions;
  const auto left = matrix(questions.vectors.rows, width);
  const auto right = matrix(std::span(symbols.vectors.rows).first(columns * width), width);
  auto all = matrix(std::span(products), columns);
  workers.run(pieces(rows), [&](std::size_t number) {
    const Range range = piece(number, rows);
    all.middleRows(index(range.begin), index(range.size)).noalias() =
        left.middleRows(index(range.begin), index(range.size)) * right.transpose();
  });
  return products;
}

double contrastive_loss(const Batch& batch, const Encoded& questions, const Encoded& symbols,
                        Floats answer_cosines, const LossOptions& options, Workers& workers,
                        Floats& by_questions, Floats& by_symbols) {
  const std::size_t count = batch.question_ids.size();
  const std::size_t width = questions.vectors.dimensions;
  const auto left = matrix(questions.vectors.rows, width);
  const auto right = matrix(std::span(symbols.vectors.rows).first(count * width), width);

  // Becomes exp((cosine - 1) / options.temperature): no cosine is above one, so nothing overflows.
  auto all = matrix(std::span(answer_cosines), count);
  std::vector<double> own(count);  // the logarithms on the diagonal
  Floats row_sums(count);
  Floats column_parts(pieces(count) * count);
  const auto rivals_begin = [&](std::size_t i) { return i == 0 ? 0 : batch.rival_ends[i - 1]; };
  Floats rivals(rivals_begin(count));
  workers.run(pieces(count), [&](std::size_t number) {
    const Range range = piece(number, count);
    auto rows = all.middleRows(index(range.begin), index(range.size));
    rows.array() = (rows.array() - 1.0F) / options.temperature;
    for (std::size_t i = range.begin; i < range.begin + range.size; ++i) {
      own[i] = double{all(index(i), index(i))};
    }
    rows.array() = rows.array().exp();
    for (std::size_t i = range.begin; i < range.begin + range.size; ++i) {
      for (std::size_t j = 0; j < count; ++j) {
        if (i != j && (batch.question_ids[i] == batch.question_ids[j] ||
                       batch.symbol_ids[i] == batch.symbol_ids[j])) {
          all(index(i), index(j)) = 0.0F;
        }
      }
    }
    vector(std::span(row_sums).subspan(range.begin, range.size)) = rows.rowwise().sum().transpose();
    for (std::size_t i = range.begin; i < range.begin + range.size; ++i) {
      const auto question = vector(questions.vectors.row(i));
      for (std::size_t j = rivals_begin(i); j < batch.rival_ends[i]; ++j) {
        const float cosine = question.dot(vector(symbols.vectors.row(count + j)));
        rivals[j] = options.rival_weight * std::exp((cosine - 1.0F) / options.temperature);
        row_sums[i] += rivals[j];
      }
    }
    vector(std::span(column_parts).subspan(number * count, count)) = rows.colwise().sum();
  });
  Floats column_sums(count);
  for (std::size_t number = 0; number < pieces(count); ++number) {
    vector(std::span(column_sums)) +=
        vector(std::span<const float>(column_parts).subspan(number * count, count));
  }
  double loss = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    loss += 0.5 * (std::log(double{row_sums[i]}) + std::log(double{column_sums[i]})) - own[i];
  }

  by_questions.assign(count * width, 0.0F);
  by_symbols.assign((count + rivals.size()) * width, 0.0F);
  auto question_side = matrix(std::span(by_questions), width);
  auto symbol_side = matrix(std::span(by_symbols), width);
  const float share = 0.5F / (static_cast<float>(count) * options.temperature);
  const Row column_factors = vector(std::span<const float>(column_sums)).cwiseInverse();
  workers.run(pieces(count), [&](std::size_t number) {
    const Range range = piece(number, count);
    for (std::size_t i = range.begin; i < range.begin + range.size; ++i) {
      auto row = all.row(index(i));
      row.array() *= (column_factors.array() + 1.0F / row_sums[i]) * share;
      row(index(i)) -= 2.0F * share;
    }
    question_side.middleRows(index(range.begin), index(range.size)).noalias() =
        all.middleRows(index(range.begin), index(range.size)) * right;
    for (std::size_t i = range.begin; i < range.begin + range.size; ++i) {
      for (std::size_t j = rivals_begin(i); j < batch.rival_ends[i]; ++j) {
        const float factor = share * rivals[j] / row_sums[i];
        question_side.row(index(i)) += factor * vector(symbols.vectors.row(count + j));
        symbol_side.row(index(count + j)) = factor * vector(questions.vectors.row(i));
      }
    }
  });
  workers.run(pieces(count), [&](std::size_t number) {
    const Range range = piece(number, count);
    symbol_side.middleRows(index(range.begin), index(range.size)).noalias() =
        all.middleCols(index(range.begin), index(range.size)).transpose() * left;
  });
  return loss / static_cast<double>(count);
}

Gradient gradient_of(const Bags& texts, const Encoded& encoded, std::span<const float> by_vectors,
                     std::size_t words, Workers& workers) {
  const std::size_t width = encoded.vectors.dimensions;
  // Where each word of the batch occurs, so that each row is summed up by one thread.
  struct Place {
    std::uint32_t text = 0;
    float weight = 0.0F;
  };
  Gradient gradient;
  std::vector<std::uint32_t> numbers(words, 0);  // of a word in `gradient`, plus one
  std::vector<std::vector<Place>> places;
  for (std::uint32_t text = 0; text < texts.size(); ++text) {
    if (encoded.lengths[text] <= 0.0F) continue;
    for (const Term& term : texts[text]) {
      if (term.word >= words) continue;
      if (numbers[term.word] == 0) {
        gradient.words.push_back(term.word);
        places.emplace_back();
        numbers[term.word] = static_cast<std::uint32_t>(gradient.words.size());
      }
      places[numbers[term.word] - 1].push_back({text, term.weight});
    }
  }
  // Through the scaling to length one: only what is across the vector changes it.
  Floats by_sums(by_vectors.begin(), by_vectors.end());
  workers.run(pieces(texts.size()), [&](std::size_t number) {
    const Range range = piece(number, texts.size());
    for (std::size_t text = range.begin; text < range.begin + range.size; ++text) {
      if (encoded.lengths[text] <= 0.0F) continue;
      auto by_sum = vector(std::span(by_sums).subspan(text * width, width));
      const auto own = vector(encoded.vectors.row(text));
      by_sum = ((by_sum - own * own.dot(by_sum)) / encoded.lengths[text]).eval();
    }
  });
  gradient.rows.assign(gradient.words.size() * width, 0.0F);
  workers.run(pieces(gradient.words.size()), [&](std::size_t number) {
    const Range range = piece(number, gradient.words.size());
    for (std::size_t word = range.begin; word < range.begin + range.size; ++word) {
      auto row = vector(std::span(gradient.rows).subspan(word * width, width));
      for (const Place& place : places[word]) {
        row += place.weight *
               vector(std::span<const float>(by_sums).subspan(place.text * width, width));
      }
    }
  });
  return gradient;
}

}  // namespace velmora::train
